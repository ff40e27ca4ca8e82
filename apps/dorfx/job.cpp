#include "dorfx/job.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "dorbmp/cpu/level.h"
#include "dorbmp/load.h"
#include "dorfx/clip.h"
#include "dorfx/errors.h"
#include "dorfx/interrupt.h"
#include "dorfx/media_writer.h"
#include "dorfx/mixer.h"
#include "dorfx/progress.h"
#include "dorfx/sheet.h"
#include "dorfx/stage_choice.h"

namespace dorfx {
namespace {

int install_level(const std::optional<int>& asked) {
  const auto detected = dorbmp::detect_cpu_level();
  if (!asked) return detected;
  if (*asked > detected) {
    throw Failure(
        "--level",
        "this processor has level " + std::to_string(detected) + " at most, not " + std::to_string(*asked),
        "use a lower one");
  }
  dorbmp::install_kernels(static_cast<dorbmp::CpuLevel>(*asked));
  return *asked;
}

Timeline make_timeline(const Sources& sources, const Stage& stage, const Options& options) {
  std::vector<ClipSpan> spans;
  for (const auto& source : sources) {
    const VideoInfo& info = source->info();
    if (!info.seconds && (&source != &sources.front() || !options.offset)) {
      throw Failure(info.name == "-" ? "standard input" : info.name, "its length is not known before its end",
                    "put it first and give --offset, or store it in a file");
    }
    const double seconds = info.seconds.value_or(0);
    int64_t length = std::llround(seconds * stage.rate.per_second());
    if (info.still) length = options.still.in_frames(stage.rate);
    if (!info.seconds)
      length = options.offset->in_frames(stage.rate) + options.duration.in_frames(stage.rate);
    spans.push_back({info.name, length, info.still, 0});
  }
  std::optional<int64_t> offset;
  if (options.offset) offset = options.offset->in_frames(stage.rate);
  return Timeline(std::move(spans), options.duration.in_frames(stage.rate), offset);
}

std::unique_ptr<AudioMix> open_audio(const Sources& sources, const Timeline& timeline, const Stage& stage) {
  std::vector<std::unique_ptr<AudioReader>> readers;
  bool any = false;
  for (const auto& source : sources) {
    const VideoInfo& info = source->info();
    if (info.name == "-") log_info("standard input: its sound is left out");
    const bool can_sound = info.has_file && !info.still && info.name != "-";
    readers.push_back(can_sound ? AudioReader::open(info.name, info.first_time) : nullptr);
    any = any || readers.back();
  }
  return any ? std::make_unique<AudioMix>(timeline, stage.rate, std::move(readers)) : nullptr;
}

// The clips in use: one, or two while they meet. Earlier ones are closed.
class Reel {
 public:
  Reel(Sources sources, const Stage& stage, const Timeline& timeline, const Options& options)
      : sources_(std::move(sources)),
        clips_(sources_.size()),
        stage_(stage),
        timeline_(timeline),
        options_(options) {}

  const Frame& at(size_t index, int64_t frame) {
    if (!clips_[index]) {
      const FieldOrder order = fields_of(sources_[index]->info(), options_);
      clips_[index] = std::make_unique<Clip>(std::move(sources_[index]), stage_, options_.fit, order);
    }
    return clips_[index]->at(frame - timeline_.clips()[index].start);
  }

  void close_before(size_t index) {
    if (index > 0) clips_[index - 1].reset();
  }

 private:
  Sources sources_;
  std::vector<std::unique_ptr<Clip>> clips_;
  const Stage& stage_;
  const Timeline& timeline_;
  const Options& options_;
};

std::unique_ptr<Transition> make_transition(const Stage& stage, const Options& options) {
  const TransitionEntry& entry = find_transition(options.transition);
  return entry.make(stage, Parameters(entry.name, entry.parameters, options.parameters));
}

struct Outputs {
  std::unique_ptr<MediaWriter> writer;
  std::unique_ptr<ContactSheet> sheet;
  std::unique_ptr<OutputFile> sheet_file;
  std::vector<int64_t> sheet_frames;
};

Outputs open_outputs(const Options& options, const Stage& stage, const Timeline& timeline, AudioMix* audio) {
  Outputs outputs;
  if (!options.sheet.empty()) {
    outputs.sheet_file = std::make_unique<OutputFile>(options.sheet, options.overwrite);
    outputs.sheet_frames = sheet_frames(timeline, options.sheet_frames);
    const int columns = static_cast<int>(std::ceil(std::sqrt(options.sheet_frames)));
    outputs.sheet = std::make_unique<ContactSheet>(stage, columns);
  }
  if (!options.output.empty()) {
    const WriterSettings settings{options.output, options.codec, options.pixel_format, options.overwrite};
    outputs.writer = std::make_unique<MediaWriter>(settings, stage, audio);
    log_info(outputs.writer->description());
  }
  return outputs;
}

bool is_same_file(const std::string& a, const std::string& b) {
  namespace fs = std::filesystem;
  std::error_code ignored;  // what cannot be looked at is no other name's file
  const fs::path path = fs::weakly_canonical(a, ignored);
  if (!path.empty() && path == fs::weakly_canonical(b, ignored)) return true;
  return fs::is_regular_file(a, ignored) && fs::equivalent(a, b, ignored);
}

// Before anything is written: no output may be one of the files that are read, or another output.
void keep_files_apart(const Options& options) {
  std::vector<std::string> taken = options.clips;
  if (const auto key = options.parameters.find("key"); key != options.parameters.end()) {
    taken.push_back(key->second);
  }
  const std::pair<const char*, const std::string&> outputs[] = {
      {"--output", options.output}, {"--sheet", options.sheet}, {"--progress", options.progress}};
  for (const auto& [option, name] : outputs) {
    if (name.empty() || name == "-") continue;
    for (const std::string& other : taken) {
      if (is_same_file(name, other)) {
        throw UsageError(option, name + " is the same file as " + other, "choose another name");
      }
    }
    taken.push_back(name);
  }
}

// Gives what was made its name; an output without a frame is nothing to keep.
void finish(Outputs& outputs) {
  if (outputs.writer && outputs.writer->frames() > 0) outputs.writer->finish();
  if (outputs.sheet && !outputs.sheet->empty()) {
    outputs.sheet->save(outputs.sheet_file->path());
    outputs.sheet_file->keep();
  }
}

}  // namespace

void run(const Options& options) {
  keep_files_apart(options);
  const int level = install_level(options.level);
  Sources sources = open_sources(options);
  const Stage stage = choose_stage(sources, options, level);
  const Timeline timeline = make_timeline(sources, stage, options);
  const std::unique_ptr<AudioMix> audio =
      options.audio && !options.output.empty() ? open_audio(sources, timeline, stage) : nullptr;
  Mixer mixer(stage, make_transition(stage, options), options.easing, options.reverse);
  Outputs outputs = open_outputs(options, stage, timeline, audio.get());
  const int64_t end = outputs.writer ? timeline.length() : outputs.sheet_frames.back() + 1;
  Progress progress(options.progress, options.overwrite, end, stage.rate);

  Reel reel(std::move(sources), stage, timeline, options);
  int64_t frame = 0;
  try {
    for (; frame < end; ++frame) {
      throw_if_interrupted();
      const Timeline::Place place = timeline.at(frame);
      reel.close_before(place.clip);
      const Frame* picture = &reel.at(place.clip, frame);
      if (place.in_joint) {
        picture = &mixer.render(*picture, reel.at(place.clip + 1, frame), timeline, place.since_start);
      }
      if (outputs.writer) outputs.writer->write(*picture);
      if (std::ranges::binary_search(outputs.sheet_frames, frame)) outputs.sheet->add(*picture);
      progress.update(frame + 1);
    }
  } catch (const Interrupted&) {
    finish(outputs);
    progress.end(frame);
    throw;
  }
  finish(outputs);
  progress.end(frame);
}

}  // namespace dorfx
