// How the host program ends, and what it leaves behind.
#include <string>
#include <vector>

#include "support/clips.h"

namespace dorfx {
namespace {

TEST_F(DorfxTest, RefusalsAreOneLineAndLeaveNothingBehind) {
  make_clip("a.mkv", "testsrc2=s=64x48:r=25", "-frames:v 12");
  make_clip("small.mkv", "testsrc2=s=32x48:r=25", "-frames:v 12");
  write("text.txt", "no picture\n");
  write("text.mkv", std::string(4000, 'x'));
  write("there.mkv", "old");
  must("ffmpeg -v error -f lavfi -i sine=d=1 sound.wav");
  must(
      "ln a.mkv twin.mkv; ffmpeg -v error -f lavfi -i testsrc2=s=64x48 -frames:v 1 key.png; "
      "ln -s loop.mkv loop.mkv; ln -s other.mkv other.mkv");
  const auto source = read_bytes(directory_ / "a.mkv");
  const struct {
    const char* arguments;
    int status;
    std::vector<const char*> words;
  } kCases[] = {
      {"a.mkv missing.mkv -o out.mkv", 1, {"missing.mkv", "No such file"}},
      {"a.mkv text.txt -o out.mkv", 1, {"text.txt", "text"}},
      {"text.mkv a.mkv -o out.mkv", 1, {"text.mkv", "no clip or picture"}},
      {"a.mkv sound.wav -o out.mkv", 1, {"sound.wav", "no picture"}},
      {"a.mkv a.mkv -d 4f -o no/such/dir/out.mkv", 1, {"no/such/dir/out.mkv", "cannot be written"}},
      {"a.mkv a.mkv -d 4f --offset 9f -o out.mkv", 1, {"a.mkv", "--offset", "at most 8 frames"}},
      {"a.mkv a.mkv -d 13f -o out.mkv", 1, {"a.mkv", "shorter --duration"}},
      {"a.mkv small.mkv -d 4f --fit error -o out.mkv", 1, {"small.mkv", "32x48", "64x48", "--fit"}},
      {"a.mkv a.mkv -d 4f -o there.mkv", 1, {"there.mkv", "exists", "-y"}},
      {"a.mkv a.mkv -d 4f -n -o there.mkv", 1, {"there.mkv", "-n"}},
      {"a.mkv a.mkv -d 4f -o out.mkv --progress there.mkv", 1, {"there.mkv", "exists", "-y"}},
      {"a.mkv a.mkv -d 4f --key text.txt -o out.mkv", 1, {"text.txt", "text"}},
      {"a.mkv a.mkv -d 4f --sheet no/dir/s.png -o out.mkv", 1, {"no/dir/s.png", "cannot be written"}},
      {"a.mkv a.mkv -d 4f -o - > /dev/full", 1, {"standard output", "No space"}},
      {"- a.mkv -d 4f -o out.mkv < a.mkv", 1, {"standard input", "--offset"}},
      {"small.mkv a.mkv -d 4f -y -o twin.mkv", 2, {"--output", "twin.mkv", "same file as a.mkv"}},
      {"a.mkv a.mkv -d 4f -y -o out.mkv --progress ./a.mkv", 2, {"--progress", "same file"}},
      {"a.mkv a.mkv -d 4f -y --key key.png --sheet key.png", 2, {"--sheet", "same file"}},
      {"a.mkv a.mkv -d 4f -y -o out.mkv --progress out.mkv", 2, {"--progress", "same file"}},
      {"loop.mkv a.mkv -d 4f -y -o other.mkv", 1, {"loop.mkv", "symbolic links"}},
      {"a.mkv a.mkv -d 4f --codec dnxhd -o out.mov", 1, {"out.mov", "dnxhd refuses", "another --codec"}},
      {"a.mkv a.mkv -d 4f --codec hevc -o out.webm", 2, {"--codec", "does not go into .webm"}},
      {"a.mkv a.mkv -d 0f -o out.mkv", 2, {"--duration", "at least 1f"}},
      {"a.mkv a.mkv --easing fast -o out.mkv", 2, {"--easing", "fast", "linear"}},
      {"a.mkv a.mkv -t nosuch -o out.mkv", 2, {"--transition", "nosuch", "--list"}},
      {"a.mkv a.mkv -d 4f -t luma -o out.mkv", 2, {"luma", "--key"}},
      {"a.mkv a.mkv --nosuch -o out.mkv", 2, {"--nosuch"}},
      {"a.mkv a.mkv -d 4f --codec nosuch -o out.mkv", 2, {"--codec", "nosuch"}},
      {"a.mkv a.mkv -d 4f --codec ffv1 --pix-fmt yuv411q -o out.mkv", 2, {"--pix-fmt", "yuv411q"}},
  };
  const auto before = listing();
  for (const auto& refusal : kCases) {
    const Outcome outcome = dorfx(refusal.arguments);
    EXPECT_EQ(outcome.status, refusal.status) << refusal.arguments << "\n" << outcome.errors;
    EXPECT_EQ(listing(), before) << refusal.arguments;
    // Notes on the clips may come first; the error is the last line.
    const std::string errors = outcome.errors.substr(0, outcome.errors.find_last_not_of('\n') + 1);
    const std::string last = errors.substr(errors.find_last_of('\n') + 1);
    for (const char* word : refusal.words)
      EXPECT_NE(last.find(word), std::string::npos) << refusal.arguments << "\n" << last;
  }
  EXPECT_EQ(read_text(directory_ / "there.mkv"), "old");
  EXPECT_EQ(read_bytes(directory_ / "a.mkv"), source);
}

TEST_F(DorfxTest, AFullDiskLeavesNothingBehind) {
  const std::string work =
      DORFX_PROGRAM " test:bars:size=320x240 test:zone:size=320x240 --codec rawvideo -o out.nut";
  const Outcome outcome = shell("ulimit -f 2000; " + work);
  EXPECT_EQ(outcome.status, 1) << outcome.errors;
  EXPECT_NE(outcome.errors.find("out.nut"), std::string::npos) << outcome.errors;
  EXPECT_EQ(listing(), std::vector<std::string>{});
}

TEST_F(DorfxTest, InterruptionKeepsAPlayableFile) {
  // With sound, which is read on to the end of the last frame; long enough for any machine.
  must(
      "ffmpeg -v error -f lavfi -i testsrc2=s=320x240:r=25:d=10 -f lavfi -i sine=r=48000:d=10 -c:v mpeg4 "
      "-c:a "
      "aac ten.mkv; ffmpeg -v error -stream_loop 200 -i ten.mkv -c copy a.mkv");
  // However slow the machine is: interrupted once ten frames are reported, a minute at most.
  const Outcome outcome = shell(
      DORFX_PROGRAM
      " a.mkv test:zone:size=320x240:duration=9000 --offset 0 -d 1500 --sheet sheet.png --frames 400 "
      "-o out.mp4 --progress progress.txt & "
      "i=0; until grep -qsE '^frame=[0-9]{2}' progress.txt || [ $i = 600 ]; do sleep 0.1; i=$((i+1)); done; "
      "kill -INT $!; wait $!");
  EXPECT_EQ(outcome.status, 130) << outcome.errors;
  EXPECT_EQ(listing(),
            (std::vector<std::string>{"a.mkv", "out.mp4", "progress.txt", "sheet.png", "ten.mkv"}));
  const std::string frames = probe("out.mp4", "v", "nb_read_frames");
  EXPECT_GT(std::stoi(frames), 9);
  EXPECT_NEAR(std::stod(probe("out.mp4", "a", "duration")), std::stod(frames) / 25, 1024.0 / 48000);
  EXPECT_EQ(probe("sheet.png", "v", "codec_name"), "png");
  const std::string progress = read_text(directory_ / "progress.txt");
  EXPECT_TRUE(progress.ends_with("progress=end\n"));
  EXPECT_NE(progress.find("frame=" + frames + "\n", progress.rfind("frame=")), std::string::npos) << progress;
}

}  // namespace
}  // namespace dorfx
