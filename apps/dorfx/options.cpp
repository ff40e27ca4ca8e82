#include "dorfx/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

#include "dorfx/encoder_choice.h"
#include "dorfx/errors.h"
#include "dorfx/transitions/transition.h"

namespace dorfx {
namespace {

constexpr char kFooter[] =
    "CLIP is a clip or picture of any kind that FFmpeg's libraries open, '-' for standard input, or a "
    "moving\n"
    "test picture: test:bars, test:zone, test:counter[:size=720x576:rate=25:duration=4:order=tff].\n"
    "Alpha is straight (not premultiplied) and shows the background. The result has the size, shape, rate "
    "and\n"
    "colours of the first clip that is not a still picture. TIME is 1.5, 00:00:01.5 or 38f (frames).\n"
    "Exit status: 0 done, 1 could not, 2 bad usage, 130 interrupted (the file made so far is whole).";

// Options that are another way to write a parameter of the transition.
struct ParameterOption {
  const char* flags;
  const char* parameter;
  const char* value;
  const char* meaning;
};
constexpr ParameterOption kParameterOptions[] = {
    {"--softness", "softness", "0..1|Npx", "Width of the soft edge; 0 is hard, anti-aliased (0; iris 0.2)"},
    {"--border", "border", "W:COLOUR", "A line of W pixels along the edge (none)"},
    {"--key", "key", "FILE", "A greyscale picture as wipe pattern or shape; without -t it means luma"},
    {"--key-range", "key-range", "full|limited", "Black and white of the key: 0..255 or 16..235 (full)"},
};

template <class Value>
struct Choice {
  const char* name;
  Value value;
};

template <class Value, size_t Count>
Value choose(const char* option, const std::string& text, const Choice<Value> (&choices)[Count]) {
  std::vector<std::string> names;
  for (const Choice<Value>& choice : choices) {
    if (text == choice.name) return choice.value;
    names.emplace_back(choice.name);
  }
  throw UsageError(option, "'" + text + "' is no choice", "use " + join(names, ", "));
}

constexpr Choice<Fit> kFits[] = {
    {"scale", Fit::kScale}, {"pad", Fit::kPad}, {"crop", Fit::kCrop}, {"error", Fit::kError}};
constexpr Choice<PixelFormat> kFormats[] = {{"yuv422", BMP_FORMAT_YUY2}, {"rgb32", BMP_FORMAT_RGB32}};
constexpr Choice<LogLevel> kLevels[] = {{"quiet", LogLevel::kQuiet},
                                        {"error", LogLevel::kError},
                                        {"warning", LogLevel::kWarning},
                                        {"info", LogLevel::kInfo}};
constexpr Choice<std::optional<FieldOrder>> kOrders[] = {{"auto", {}},
                                                         {"progressive", FieldOrder::kProgressive},
                                                         {"tff", FieldOrder::kTopFirst},
                                                         {"bff", FieldOrder::kBottomFirst}};

// The words as they are written.
struct Words {
  std::string transition, duration, offset, easing = "linear", background = "black", field_order = "auto";
  std::string format = "yuv422", fit = "scale", rate, still = "3", verbosity = "info", level, frames;
  std::map<std::string, std::string> parameters;
  bool key_invert = false, smooth = false, no_audio = false, list = false, yes = false, no = false;
};

void declare(CLI::App& app, Options& options, Words& words) {
  app.add_option("CLIP", options.clips, "Two clips or more")->option_text(" ");
  app.add_option("-o,--output", options.output, "The result; '-' is y4m on standard output")
      ->option_text("FILE");
  app.add_option("-t,--transition", words.transition, "NAME[:key=value...]; --list names all (fade)")
      ->option_text("NAME");
  app.add_option("-d,--duration", words.duration, "How long the transition lasts (1)")->option_text("TIME");
  app.add_option("--offset", words.offset, "When it starts on the first clip (so that both end together)")
      ->option_text("TIME");
  app.add_option("--easing", words.easing, "linear, a CSS name, or cubic-bezier(x1,y1,x2,y2) (linear)")
      ->option_text("CURVE");
  app.add_flag("--reverse", options.reverse,
               "Run the transition backwards, from the second picture to the first");
  for (const ParameterOption& option : kParameterOptions) {
    app.add_option_function<std::string>(
           option.flags,
           [&words, &option](const std::string& value) { words.parameters[option.parameter] = value; },
           option.meaning)
        ->option_text(option.value);
  }
  app.add_flag("--key-invert", words.key_invert, "Bright parts of the key change first");
  app.add_flag("--smooth", words.smooth, "Anti-aliased edges in spin, flip, tumble, fold, doorway and swap");
  app.add_option("--background", words.background, "Behind padding and transparent parts (black)")
      ->option_text("COLOUR");
  app.add_option("--field-order", words.field_order,
                 "auto, progressive, tff or bff; each field has its own instant (auto)")
      ->option_text("ORDER");
  app.add_option("--format", words.format, "yuv422 or rgb32: the layout worked in (yuv422)")
      ->option_text("LAYOUT");
  app.add_option("--fit", words.fit,
                 "Clips of another size, rate or field order: scale, pad, crop or error (scale)")
      ->option_text("HOW");
  app.add_option("--rate", words.rate, "Frame rate of the result (the leading clip's; 25 of pictures)")
      ->option_text("FPS");
  app.add_option("--still", words.still, "How long a picture lasts, at least its transitions (3)")
      ->option_text("TIME");
  app.add_flag("--no-audio", words.no_audio, "No sound");
  app.add_option("--codec", options.codec,
                 "Video encoder: h264, mpeg4, prores, ffv1, rawvideo, ... (by the ending)")
      ->option_text("NAME");
  app.add_option("--pix-fmt", options.pixel_format, "Pixel format of the result (by the codec)")
      ->option_text("NAME");
  app.add_option("--sheet", options.sheet, "Contact sheet of the transition, with or without -o")
      ->option_text("FILE.png");
  app.add_option("--frames", words.frames, "Frames on the contact sheet (12)")->option_text("N");
  app.add_option("--level", words.level, "Force a processor level, 0 to 4 (the highest)")->option_text("N");
  app.add_option("--progress", options.progress, "Machine-readable progress to a file or '-'")
      ->option_text("FILE");
  app.add_flag("-y", words.yes, "Overwrite files of the outputs' names");
  app.add_flag("-n", words.no, "Never overwrite");
  app.add_option("-v", words.verbosity, "quiet, error, warning or info (info)")->option_text("LEVEL");
  app.add_flag("--list", words.list, "List the transitions with their parameters and defaults");
}

// What is wrong with a parameter that was given as an option is said of the option.
void check_parameter_options(const std::map<std::string, std::string>& given, const TransitionEntry& entry,
                             bool has_key) {
  for (const auto& [name, value] : given) {
    if (std::ranges::find(entry.parameters, name, &Parameter::name) == entry.parameters.end()) {
      throw UsageError("--" + name, std::string("transition ") + entry.name + " has no " + name,
                       "--list names what it has");
    }
    if (name.starts_with("key") && !has_key) throw UsageError("--" + name, "needs --key PICTURE");
  }
}

// The transition and its parameters, from -t and from the options that stand for parameters.
void resolve_transition(const Words& words, Options& options) {
  std::map<std::string, std::string> given = words.parameters;
  if (words.key_invert) given["key-invert"] = "1";
  if (words.smooth) given["smooth"] = "1";
  const auto as_options = given;
  const bool is_keyed =
      std::ranges::any_of(given, [](const auto& option) { return option.first.starts_with("key"); });
  options.transition = is_keyed ? "luma" : "fade";
  if (!words.transition.empty()) {
    const NamedValues named = parse_named_values("--transition", words.transition);
    options.transition = named.name;
    for (const auto& [name, value] : named.values) {
      if (!given.emplace(name, value).second) {
        throw UsageError("--transition", "'" + name + "' is given twice", "give it once");
      }
    }
  }
  const TransitionEntry& entry = find_transition(options.transition);
  check_parameter_options(as_options, entry, given.contains("key"));
  Parameters(entry.name, entry.parameters, given);
  options.parameters = given;
}

void resolve(const Words& words, Options& options) {
  resolve_transition(words, options);
  if (!words.duration.empty()) options.duration = parse_time("--duration", words.duration);
  if (!words.offset.empty()) options.offset = parse_time("--offset", words.offset);
  options.easing = Easing(words.easing);
  options.background = parse_colour("--background", words.background);
  options.field_order = choose("--field-order", words.field_order, kOrders);
  options.format = choose("--format", words.format, kFormats);
  options.fit = choose("--fit", words.fit, kFits);
  if (!words.rate.empty()) options.rate = parse_rate("--rate", words.rate);
  options.still = parse_time("--still", words.still);
  options.audio = !words.no_audio;
  options.log_level = choose("-v", words.verbosity, kLevels);
  if (!words.level.empty()) options.level = parse_whole("--level", words.level, 0, 4);
  if (!words.frames.empty()) options.sheet_frames = parse_whole("--frames", words.frames, 1, 400);
  options.overwrite = words.yes ? Overwrite::kYes : words.no ? Overwrite::kNo : Overwrite::kAsk;
}

void check(const Words& words, const Options& options) {
  if (options.clips.size() < 2) {
    throw UsageError("CLIP", "two clips are needed, " + std::to_string(options.clips.size()) + " given",
                     "dorfx CLIP CLIP -o OUT; see --help");
  }
  if (options.output.empty() && options.sheet.empty()) {
    throw UsageError("--output", "is missing", "give -o FILE, or --sheet FILE.png");
  }
  if (!options.output.empty()) choose_container(options.output);
  if (!options.sheet.empty() && !options.sheet.ends_with(".png")) {
    throw UsageError("--sheet", "'" + options.sheet + "' does not end in .png", "the sheet is a PNG");
  }
  if (!words.frames.empty() && options.sheet.empty()) {
    throw UsageError("--frames", "counts the frames of a contact sheet", "give --sheet FILE.png, too");
  }
  if (words.yes && words.no) throw UsageError("-y", "and -n exclude one another", "give one of them");
  if (options.output == "-" && options.progress == "-") {
    throw UsageError("--progress", "standard output carries the result already", "give a file");
  }
  if (std::count(options.clips.begin(), options.clips.end(), "-") > 1) {
    throw UsageError("CLIP", "standard input is given twice", "give '-' once");
  }
}

}  // namespace

std::optional<Options> parse_options(int argc, const char* const* argv) {
  Options options;
  Words words;
  CLI::App app("Puts a transition between clips, frame by frame or field by field.", "dorfx");
  app.set_version_flag("--version", "dorfx " DORFX_VERSION);
  app.footer(kFooter);
  declare(app, options, words);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& asked) {  // --help, --version
    app.exit(asked);
    return {};
  } catch (const CLI::ParseError& error) {
    std::string reason = error.what();
    std::replace(reason.begin(), reason.end(), '\n', ' ');
    throw UsageError("command line", reason, "see --help");
  }
  if (words.list) {
    std::fputs(describe_transitions().c_str(), stdout);
    return {};
  }
  resolve(words, options);
  check(words, options);
  return options;
}

}  // namespace dorfx
