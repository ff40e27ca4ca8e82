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

TEST_F(DorfxTest, SoundIsBroughtToARateThatTheEncoderTakes) {
  for (const std::string rate : {"44100", "96000"}) {
    must("ffmpeg -v error -y -f lavfi -i testsrc2=s=64x48:r=25:d=1 -f lavfi -i sine=r=" + rate +
         ":d=1 -c:v ffv1 -c:a pcm_s16le a.mkv");
    for (const std::string output : {"out.webm", "out.wmv", "out.mpg", "out.mp4"}) {
      const Outcome outcome = dorfx("a.mkv a.mkv -y -d 4f -o " + output);
      ASSERT_EQ(outcome.status, 0) << output << outcome.errors;
      const bool takes_it = output == "out.mp4" || (rate == "44100" && output != "out.webm");
      EXPECT_EQ(probe(output, "a", "sample_rate"), takes_it ? rate : "48000") << output;
      const bool is_told = outcome.errors.find("is brought to 48000") != std::string::npos;
      EXPECT_EQ(is_told, !takes_it) << outcome.errors;
    }
  }
  must("ffmpeg -v error -y -i out.webm -f s16le -ac 1 sound.raw");
  EXPECT_NEAR(static_cast<double>(fs::file_size(directory_ / "sound.raw")), 2 * 48000 * 46 / 25.0, 2 * 2048);
  EXPECT_EQ(probe("out.wmv", "v", "codec_name"), "msmpeg4v3");
}

TEST_F(DorfxTest, SoundMayChangeItsFormatOnTheWay) {
  // As broadcasts do between programmes: a tone of 440 Hz for two seconds, then one of 880 Hz.
  const auto part = [&](const std::string& name, const std::string& tone, const std::string& sound,
                        int start) {
    must("ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=25:d=2 -f lavfi -i sine=" + tone +
         ":d=2 -c:v mpeg2video -c:a " + sound + " -output_ts_offset " + std::to_string(start) + " " + name);
  };
  part("surround.ts", "440", "aac -ac 6 -ar 48000", 0);
  part("mono.ts", "880", "aac -ac 1 -ar 32000", 2);
  part("stereo.ts", "440", "ac3 -ac 2 -ar 48000", 0);
  part("centre.ts", "880", "ac3 -ac 6 -ar 48000", 2);
  must("cat surround.ts mono.ts >to_mono.ts; cat stereo.ts centre.ts >to_surround.ts");
  for (const std::string clip : {"to_mono.ts", "to_surround.ts"}) {
    const Outcome outcome = dorfx(clip + " test:bars:size=64x48 -y -d 2f --codec ffv1 -o out.mkv");
    ASSERT_EQ(outcome.status, 0) << clip << outcome.errors;
    must("ffmpeg -v error -y -i out.mkv -ac 1 -f s16le sound.raw");
    const Bytes sound = read_bytes(directory_ / "sound.raw");
    const auto at = [&](size_t sample) {
      return static_cast<int16_t>(sound.at(sample * 2) | sound.at(sample * 2 + 1) << 8) / 32768.0;
    };
    const auto waves = [&](double from, double to) {
      int rises = 0;
      for (auto i = static_cast<size_t>(from * 48000); i < static_cast<size_t>(to * 48000); ++i) {
        rises += at(i) < 0 && at(i + 1) >= 0 ? 1 : 0;
      }
      return rises;
    };
    EXPECT_NEAR(waves(0.1, 1.9), 1.8 * 440, 2) << clip;
    EXPECT_NEAR(waves(2.1, 3.8), 1.7 * 880, 2) << clip;
  }
}

}  // namespace
}  // namespace dorfx
