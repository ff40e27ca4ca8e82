// The host program's sound.
#include <algorithm>
#include <string>
#include <vector>

#include "support/clips.h"

namespace dorfx {
namespace {

TEST_F(DorfxTest, SoundIsCrossFadedAndAsLongAsThePicture) {
  const auto clip = [&](const std::string& name, const std::string& rate, const std::string& level) {
    must("ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=" + rate + ":d=2 -f lavfi -i 'aevalsrc=" + level +
         ":s=48000:d=2' -c:v ffv1 -pix_fmt yuv422p -c:a pcm_s16le " + name);
  };
  clip("a.mkv", "25", "0.5");
  clip("b.mkv", "30", "-0.25");  // the second clip's rate is brought to the first's
  const Outcome outcome = dorfx("a.mkv b.mkv -d 0.4 --codec ffv1 -o out.mkv");
  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_NE(outcome.errors.find("30 fps is brought to 25 fps"), std::string::npos) << outcome.errors;
  EXPECT_EQ(probe("out.mkv", "v", "nb_read_frames"), "90");
  must("ffmpeg -v error -i out.mkv -f s16le sound.raw");
  const Bytes sound = read_bytes(directory_ / "sound.raw");
  ASSERT_EQ(sound.size(), 2u * 48000 * 90 / 25);
  const auto at = [&](int sample) {
    return static_cast<int16_t>(sound[static_cast<size_t>(sample) * 2] |
                                sound[static_cast<size_t>(sample) * 2 + 1] << 8) /
           32768.0;
  };
  for (int sample = 0; sample < 48000 * 90 / 25; sample += 97) {
    const double t = std::clamp((sample / 48000.0 - 1.6) / 0.4, 0.0, 1.0);
    ASSERT_NEAR(at(sample), 0.5 * (1 - t) - 0.25 * t, 2.0 / 32768) << sample;
  }

  // Compressed, in a player's container: both tracks end together, to a packet's length.
  ASSERT_EQ(dorfx("a.mkv b.mkv -d 0.4 -o out.mp4").status, 0);
  EXPECT_EQ(probe("out.mp4", "v", "nb_read_frames"), "90");
  EXPECT_NEAR(std::stod(probe("out.mp4", "v", "duration")), 3.6, 1e-3);
  EXPECT_NEAR(std::stod(probe("out.mp4", "a", "duration")), 3.6, 1024.0 / 48000);
  ASSERT_EQ(dorfx("a.mkv b.mkv -d 0.4 --no-audio -o silent.mp4").status, 0);
  EXPECT_EQ(probe("silent.mp4", "a", "codec_name"), "");
}

TEST_F(DorfxTest, SoundHasTheMostChannelsOfAll) {
  const auto clip = [&](const std::string& name, const std::string& levels) {
    must("ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=25:d=0.4 -f lavfi -i 'aevalsrc=" + levels +
         ":s=48000:d=0.4' -c:v ffv1 -c:a pcm_s16le " + name);
  };
  clip("mono.mkv", "0.5");
  clip("stereo.mkv", "0.25|-0.25");
  const Outcome outcome = dorfx("mono.mkv stereo.mkv -d 2f --codec ffv1 -o out.mkv");
  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(probe("out.mkv", "a", "channels"), "2");
  must("ffmpeg -v error -i out.mkv -f u8 sound.raw");
  const Bytes sound = read_bytes(directory_ / "sound.raw");
  // One channel is as loud from two.
  EXPECT_NEAR(sound[0], 192, 1);
  EXPECT_NEAR(sound[1], 192, 1);
  EXPECT_NEAR(sound[sound.size() - 2], 160, 1);
  EXPECT_NEAR(sound[sound.size() - 1], 96, 1);
}

}  // namespace
}  // namespace dorfx
