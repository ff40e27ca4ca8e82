// The host program's parts that need no clips.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "dorfx/errors.h"
#include "dorfx/key_picture.h"
#include "dorfx/options.h"
#include "dorfx/scaler.h"
#include "dorfx/sheet.h"
#include "dorfx/timeline.h"
#include "dorfx/transitions/transition.h"

namespace dorfx {
namespace {

TEST(DorfxValues, TimesInSecondsClockAndFrames) {
  const Rate pal{25, 1}, ntsc{30000, 1001};
  const auto frames = [](const char* text, Rate rate) { return parse_time("t", text).in_frames(rate); };
  EXPECT_EQ(frames("1.5", pal), 38);
  EXPECT_EQ(frames("00:00:01.5", ntsc), 45);
  EXPECT_EQ(frames("1:02", pal), 1550);
  EXPECT_EQ(frames("38f", ntsc), 38);
  for (const char* wrong : {"", "f", "-1", "1:60", "1.5:00", "1e99", "nan", "3s", "-5f", "1:2:3:4", "1.5f"}) {
    EXPECT_THROW(parse_time("t", wrong), UsageError) << wrong;
  }
}

TEST(DorfxValues, ColoursLengthsAndParameters) {
  EXPECT_EQ(parse_colour("c", "#1080fF"), (Colour{0x10, 0x80, 0xFF}));
  EXPECT_EQ(parse_colour("c", "white"), (Colour{255, 255, 255}));
  for (const char* wrong : {"", "#123", "#12345g", "random", "0x102030", "nosuchcolour", "white@0.5"}) {
    EXPECT_THROW(parse_colour("c", wrong), UsageError) << wrong;
  }
  EXPECT_TRUE(parse_softness("s", "12px").in_pixels);
  EXPECT_DOUBLE_EQ(parse_softness("s", "0.25").value, 0.25);
  for (const char* wrong : {"1.5", "-0.1", "px", "nan", "5 px"}) {
    EXPECT_THROW(parse_softness("s", wrong), UsageError) << wrong;
  }
  EXPECT_EQ(parse_border("b", "8:red").colour, (Colour{255, 0, 0}));
  EXPECT_THROW(parse_border("b", "8"), UsageError);
  EXPECT_THROW(parse_rate("r", "ntsc"), UsageError);
  EXPECT_EQ(parse_rate("r", "30000/1001"), (Rate{30000, 1001}));
  EXPECT_EQ(parse_rate("r", "29.97"), (Rate{30000, 1001}));
  EXPECT_EQ(parse_rate("r", "23.976"), (Rate{24000, 1001}));
  EXPECT_EQ(parse_rate("r", "23.98"), (Rate{24000, 1001}));
  EXPECT_EQ(parse_rate("r", "59.94"), (Rate{60000, 1001}));
  EXPECT_EQ(parse_rate("r", "119.88"), (Rate{120000, 1001}));
  EXPECT_EQ(parse_rate("r", "12.5"), (Rate{25, 2}));
  EXPECT_EQ(parse_rate("r", "24"), (Rate{24, 1}));

  // A value keeps its own colons.
  const NamedValues named = parse_named_values("t", "luma:border=4:red:softness=0.2:key=c:/k.pgm");
  EXPECT_EQ(named.name, "luma");
  EXPECT_EQ(named.values.at("border"), "4:red");
  EXPECT_EQ(named.values.at("softness"), "0.2");
  EXPECT_EQ(named.values.at("key"), "c:/k.pgm");
  EXPECT_THROW(parse_named_values("t", "luma:softness"), UsageError);
}

TEST(DorfxEasing, CurvesOfTheirNames) {
  // Reference values of the standard curves at a quarter, a half and three quarters.
  const struct {
    const char* name;
    double quarter, half, three_quarters;
  } kCurves[] = {
      {"linear", 0.25, 0.5, 0.75},
      {"ease", 0.40851, 0.80240, 0.96046},
      {"ease-in", 0.09346, 0.31536, 0.62186},
      {"ease-in-out", 0.12916, 0.5, 0.87084},
      {"cubic-bezier(0.25, 0.1, 0.25, 1)", 0.40851, 0.80240, 0.96046},
  };
  for (const auto& curve : kCurves) {
    const Easing easing(curve.name);
    EXPECT_NEAR(easing(0.25), curve.quarter, 1e-4) << curve.name;
    EXPECT_NEAR(easing(0.5), curve.half, 1e-4) << curve.name;
    EXPECT_NEAR(easing(0.75), curve.three_quarters, 1e-4) << curve.name;
    EXPECT_EQ(easing(0), 0);
    EXPECT_EQ(easing(1), 1);
  }
  const Easing overshoot("cubic-bezier(0.3,-2,0.7,3)");
  EXPECT_EQ(overshoot(0.1), 0);
  EXPECT_EQ(overshoot(0.9), 1);
  for (const char* wrong :
       {"", "fast", "cubic-bezier(1,2,3)", "cubic-bezier(2,0,0,1)", "cubic-bezier(0,0,1,1)x"}) {
    EXPECT_THROW(Easing{wrong}, UsageError) << wrong;
  }
}

TEST(DorfxTimeline, TwoClips) {
  const Timeline timeline({{"a", 20}, {"b", 30}}, 8, {});
  EXPECT_EQ(timeline.length(), 42);
  EXPECT_EQ(timeline.joints().front().start, 12);
  EXPECT_FALSE(timeline.at(11).in_joint);
  EXPECT_TRUE(timeline.at(12).in_joint);
  EXPECT_TRUE(timeline.at(19).in_joint);
  EXPECT_EQ(timeline.at(20).clip, 1u);
  EXPECT_FALSE(timeline.at(20).in_joint);
  EXPECT_DOUBLE_EQ(timeline.progress(0, 0), 0);
  EXPECT_DOUBLE_EQ(timeline.progress(3, 0.5), 3.5 / 8);
  EXPECT_DOUBLE_EQ(timeline.progress(8, 0), 1);
}

TEST(DorfxTimeline, ChainsOffsetsAndStills) {
  const Timeline chain({{"a", 20}, {"b", 16}, {"c", 10}}, 8, 5);
  EXPECT_EQ(chain.joints()[0].start, 5);
  EXPECT_EQ(chain.joints()[1].start, 5 + 16 - 8);
  EXPECT_EQ(chain.length(), 5 + 8 + 10);
  EXPECT_THROW(Timeline({{"a", 20}, {"b", 15}, {"c", 10}}, 8, {}), Failure);  // b is never alone
  EXPECT_THROW(Timeline({{"a", 20}, {"b", 30}}, 8, 13), Failure);
  EXPECT_NO_THROW(Timeline({{"a", 20}, {"b", 30}}, 8, 12));
  EXPECT_THROW(Timeline({{"a", 7}, {"b", 30}}, 8, {}), Failure);
  EXPECT_THROW(Timeline({{"a", 20}, {"b", 7}}, 8, {}), Failure);
  EXPECT_THROW(Timeline({{"a", 20}, {"b", 30}}, 0, {}), UsageError);
  // A picture stretches to what is asked of it.
  const Timeline stills({{"a", 4, true}, {"b", 4, true}}, 8, {});
  EXPECT_EQ(stills.joints()[0].start, 0);
  EXPECT_EQ(stills.length(), 9);
}

TEST(DorfxSheet, ShowsBothEndsOfEachTransition) {
  const Timeline timeline({{"a", 20}, {"b", 30}}, 8, {});
  EXPECT_EQ(sheet_frames(timeline, 3), (std::vector<int64_t>{12, 16, 20}));
  EXPECT_EQ(sheet_frames(timeline, 100).size(), 9u);
  EXPECT_EQ(sheet_frames(timeline, 1), (std::vector<int64_t>{16}));
  // A second clip that ends with the transition has no frame after it.
  EXPECT_EQ(sheet_frames(Timeline({{"a", 8}, {"b", 8}}, 8, {}), 2), (std::vector<int64_t>{0, 7}));
}

TEST(DorfxFields, EachPassHasItsLinesAndItsInstant) {
  const auto top = field_passes(FieldOrder::kTopFirst), bottom = field_passes(FieldOrder::kBottomFirst);
  ASSERT_EQ(top.size(), 2u);
  EXPECT_EQ(top[0].flags, uint32_t{BMP_FIELD_ONLY});
  EXPECT_EQ(top[1].flags, uint32_t{BMP_FIELD_ONLY | BMP_FIELD_ODD});
  EXPECT_EQ(bottom[0].flags, top[1].flags);
  EXPECT_EQ(bottom[1].flags, top[0].flags);
  EXPECT_EQ(top[1].delay, 0.5);
  EXPECT_EQ(bottom[1].delay, 0.5);
}

TEST(DorfxColours, AColourIsAsClipsOfItsMatrixHaveIt) {
  constexpr Colour kColours[] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {200, 120, 40}};
  for (const AVColorSpace matrix : {AVCOL_SPC_BT709, AVCOL_SPC_FCC, AVCOL_SPC_BT470BG, AVCOL_SPC_SMPTE170M,
                                    AVCOL_SPC_SMPTE240M, AVCOL_SPC_BT2020_NCL, AVCOL_SPC_BT2020_CL}) {
    for (const AVColorRange range : {AVCOL_RANGE_MPEG, AVCOL_RANGE_JPEG}) {
      const ColourSpace colours{.matrix = matrix, .range = range};
      for (const Colour colour : kColours) {
        const auto picture = make_picture(16, 16, AV_PIX_FMT_BGR0);
        for (int i = 0; i < 16 * picture->linesize[0]; i += 4) {
          const uint8_t pixel[] = {colour.blue, colour.green, colour.red, 255};
          std::memcpy(picture->data[0] + i, pixel, sizeof pixel);
        }
        Scaler scaler;
        const AVFrame& clip = scaler.convert(*picture, colours, {16, 16, AV_PIX_FMT_YUV422P, colours}, false);
        const auto yuv = to_yuv(colour, colours);
        for (size_t i = 0; i < 3; ++i) {
          EXPECT_NEAR(yuv[i], clip.data[i][0], 1) << av_color_space_name(matrix) << " " << range << " " << i;
        }
      }
    }
  }
}

TEST(DorfxFit, KeepsShapesAndParities) {
  const PictureShape pal{720, 576, {16, 15}}, wide{1920, 1080, {1, 1}};
  const Placement padded = place(wide, pal, Fit::kPad);  // 4:3 around 16:9
  EXPECT_EQ(padded.width, 720);
  EXPECT_EQ(padded.height, 432);
  EXPECT_EQ(padded.y, 72);
  const Placement cropped = place(wide, pal, Fit::kCrop);
  EXPECT_EQ(cropped.height, 576);
  EXPECT_EQ(cropped.width, 960);
  EXPECT_EQ(cropped.crop_x, 120);
  const Placement pillars = place(pal, wide, Fit::kPad);
  EXPECT_EQ(pillars.width, 1440);
  EXPECT_EQ(pillars.x, 240);
  // The same shape fills the frame, odd sides too, and no position parts a pair of pixels or of fields.
  EXPECT_EQ(place({70, 54}, {35, 27}, Fit::kPad).width, 35);
  EXPECT_EQ(place({70, 54}, {35, 27}, Fit::kPad).height, 27);
  for (int width = 1; width < 80; ++width) {
    for (const Fit fit : {Fit::kPad, Fit::kCrop}) {
      const Placement placed = place({width, 41}, {61, 37}, fit);
      EXPECT_EQ((placed.x | placed.y | placed.crop_x | placed.crop_y) & 1, 0) << width;
      if (fit == Fit::kCrop) {
        EXPECT_TRUE(placed.width - placed.crop_x >= 61 && placed.height - placed.crop_y >= 37);
      }
    }
  }
}

TEST(DorfxKeyPicture, EndsStayExactWhenScaled) {
  Pattern picture{3, 2, {0, 1, 1, 0, 1, 1}};
  for (const auto& [width, height] : {std::pair{300, 200}, {2, 1}, {7, 5}}) {
    const Pattern scaled = resample(picture, width, height);
    EXPECT_EQ(scaled.at(width - 1, height - 1), 1) << width;
    EXPECT_LE(scaled.at(0, 0), 0.5f) << width;
    for (const float value : scaled.values) EXPECT_TRUE(value >= 0 && value <= 1);
  }
  const Pattern flat = resample({64, 64, std::vector<float>(64 * 64, 1.0f)}, 37, 91);
  for (const float value : flat.values) EXPECT_EQ(value, 1);
}

using Words = std::vector<const char*>;

std::optional<Options> parse(Words words) {
  words.insert(words.begin(), "dorfx");
  return parse_options(static_cast<int>(words.size()), words.data());
}

// The message of the refusal.
template <class Call>
std::string told(const Call& call) {
  try {
    call();
  } catch (const UsageError& error) {
    return error.what();
  }
  return "nothing";
}

TEST(DorfxOptions, RefusalsSayWhatToWrite) {
  const std::string nearest = told([] { find_transition("circelopen"); });
  EXPECT_NE(nearest.find("circleopen"), std::string::npos) << nearest;
  EXPECT_NE(nearest.find("--list"), std::string::npos) << nearest;
  const Stage stage{.width = 16, .height = 16};
  const auto make = [&](const char* name, const char* parameter, const char* value) {
    const TransitionEntry& entry = find_transition(name);
    return told([&] { entry.make(stage, Parameters(name, entry.parameters, {{parameter, value}})); });
  };
  EXPECT_NE(make("box", "center", "0.5").find("X,Y"), std::string::npos);
  for (const auto& [name, parameter] : {std::pair{"slice", "count"},
                                        {"fold", "count"},
                                        {"spin", "turns"},
                                        {"tumble", "turns"},
                                        {"dissolve", "grain"}}) {
    EXPECT_NE(make(name, parameter, "2.7").find("whole number"), std::string::npos) << name;
    EXPECT_EQ(make(name, parameter, "2"), "nothing") << name;
  }
}

TEST(DorfxOptions, RefusalsNameTheOptionAsItWasWritten) {
  const struct {
    Words words;
    const char* message;
  } kCases[] = {
      {{"--key-invert"}, "--key-invert: needs --key PICTURE"},
      {{"-t", "spin", "--key-range", "full"}, "--key-range: needs --key PICTURE"},
      {{"--smooth"}, "--smooth: transition fade has no smooth"},
      {{"-t", "cube", "--softness", "0.5"}, "--softness: transition cube has no softness"},
      {{"-t", "fade:"}, "--transition: nothing after ':'"},
      {{"-t", "fade:=3"}, "--transition: '=3' is no key=value"},
      {{"--sheet", "s.png", "--frames", "abc"}, "--frames: 'abc' is out of range or no whole number"},
      {{"--sheet", "s.png", "--frames", "401"}, "--frames: '401' is out of range or no whole number"},
  };
  for (const auto& [words, message] : kCases) {
    Words all{"a", "b", "-o", "x.mp4"};
    all.insert(all.end(), words.begin(), words.end());
    EXPECT_TRUE(told([&] { parse(all); }).starts_with(message)) << told([&] { parse(all); });
  }
  EXPECT_EQ(parse({"a", "b", "-o", "x.mp4", "-t", "spin:key=k", "--key-invert"})->parameters.at("key-invert"),
            "1");
}

TEST(DorfxOptions, WrongCommandLinesAreUsageErrors) {
  const auto options =
      parse({"a", "b", "c", "-o", "x.mp4", "--key", "k.pgm", "--softness", "4px", "-d", "12f"});
  EXPECT_EQ(options->transition, "luma");
  EXPECT_EQ(options->parameters.at("softness"), "4px");
  EXPECT_EQ(options->clips.size(), 3u);
  const Words kWrong[] = {
      {"a", "b"},
      {"a", "-o", "x.mp4"},
      {"a", "b", "-o", "x"},
      {"a", "b", "-o", "x.txt"},
      {"a", "b", "-o", "x.mp4", "--nosuch"},
      {"a", "b", "-o", "x.mp4", "-t", "nosuch"},
      {"a", "b", "-o", "x.mp4", "-t", "fade:softness=1"},
      {"a", "b", "-o", "x.mp4", "-t", "luma:softness=0.1", "--softness", "0.2"},
      {"a", "b", "-o", "x.mp4", "--level", "5"},
      {"a", "b", "-o", "x.mp4", "--level", "2.5"},
      {"a", "b", "-o", "x.mp4", "--frames", "4"},  // of no sheet
      {"a", "b", "-o", "x.mp4", "--fit", "stretch"},
      {"a", "b", "-o", "x.mp4", "-y", "-n"},
      {"a", "b", "-o", "-", "--progress", "-"},
      {"-", "-", "-o", "x.mp4"},
      {"a", "b", "--sheet", "x.jpg"},
  };
  for (const Words& words : kWrong) {
    EXPECT_THROW(parse(words), UsageError) << words.back();
  }
}

}  // namespace
}  // namespace dorfx
