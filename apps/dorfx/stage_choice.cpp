#include "dorfx/stage_choice.h"

#include <cstdio>

#include "dorfx/errors.h"
#include "dorfx/log.h"

namespace dorfx {
namespace {

const VideoInfo& leading(const Sources& sources) {
  for (const auto& source : sources) {
    if (!source->info().still) return source->info();
  }
  return sources.front()->info();
}

FieldOrder stage_order(const Sources& sources, const Options& options) {
  if (options.field_order) return *options.field_order;
  const FieldOrder order = fields_of(leading(sources), options);
  if (order != FieldOrder::kProgressive) return order;
  for (const auto& source : sources) {
    const FieldOrder other = fields_of(source->info(), options);
    if (other != FieldOrder::kProgressive) return other;
  }
  return order;
}

std::string shape(int width, int height, AVRational aspect) {
  char text[64];
  std::snprintf(text, sizeof text, "%dx%d, pixels %d:%d", width, height, aspect.num, aspect.den);
  return text;
}

const char* range_name(AVColorRange range) {
  return range == AVCOL_RANGE_JPEG ? "full" : "limited";
}

bool is_hdr(const ColourSpace& colours) {
  return colours.transfer == AVCOL_TRC_SMPTE2084 || colours.transfer == AVCOL_TRC_ARIB_STD_B67;
}

// Nothing converts brightness; between the curves of television the difference is small.
void compare_transfer(const VideoInfo& info, const Stage& stage, const Options& options) {
  const ColourSpace &here = info.colours, &there = stage.colours;
  if (here.transfer == there.transfer || !(is_hdr(here) || is_hdr(there))) return;
  const std::string name = av_color_transfer_name(here.transfer),
                    other = av_color_transfer_name(there.transfer);
  if (options.fit == Fit::kError) {
    throw Failure(info.name, "transfer curve is " + name + ", the result's " + other,
                  "convert the clip first");
  }
  log_warning(info.name + ": transfer curve " + name + " is taken for the result's, " + other +
              "; convert the clip first");
}

// Makes equal what is not, and says so, or refuses.
void reconcile(const VideoInfo& info, const Stage& stage, const Options& options) {
  const auto differs = [&](const std::string& what, const std::string& here, const std::string& there) {
    if (options.fit == Fit::kError) {
      throw Failure(info.name, what + " is " + here + ", the result's " + there,
                    "use --fit scale, pad or crop");
    }
    log_info(info.name + ": " + what + " " + here + " is brought to " + there);
  };
  const bool same_shape = info.width == stage.width && info.height == stage.height &&
                          av_cmp_q(info.sample_aspect, stage.sample_aspect) == 0;
  if (!same_shape) {
    differs("size", shape(info.width, info.height, info.sample_aspect),
            shape(stage.width, stage.height, stage.sample_aspect));
  }
  if (info.still) return;
  if (info.variable_rate) {
    differs("frame rate", "variable", "a constant " + to_string(stage.rate));
  } else if (!(info.rate == stage.rate)) {
    differs("frame rate", to_string(info.rate), to_string(stage.rate));
  }
  const FieldOrder order = fields_of(info, options);
  if (order != stage.order) {
    const bool told = info.order || options.field_order;
    differs("field order", told ? to_string(order) : "unknown (taken as progressive)",
            to_string(stage.order));
  }
  if (info.bits > 8) differs("sample depth", std::to_string(info.bits) + " bits", "8 bits");
  compare_transfer(info, stage, options);
  if (info.rgb) return;
  if (!info.colours.same_matrix(stage.colours)) {
    differs("colour matrix", av_color_space_name(info.colours.matrix),
            av_color_space_name(stage.colours.matrix));
  }
  if (info.colours.range != stage.colours.range) {
    differs("colour range", range_name(info.colours.range), range_name(stage.colours.range));
  }
}

}  // namespace

FieldOrder fields_of(const VideoInfo& info, const Options& options) {
  if (info.still || options.field_order == FieldOrder::kProgressive) return FieldOrder::kProgressive;
  if (info.order) return *info.order;
  return options.field_order.value_or(FieldOrder::kProgressive);
}

Sources open_sources(const Options& options) {
  Sources sources;
  for (const std::string& clip : options.clips) sources.push_back(open_source(clip));
  return sources;
}

Stage choose_stage(const Sources& sources, const Options& options, int level) {
  const VideoInfo& lead = leading(sources);
  Stage stage;
  stage.width = lead.width;
  stage.height = lead.height;
  stage.format = options.format;
  stage.sample_aspect = lead.sample_aspect;
  stage.rate = options.rate.value_or(lead.still ? Rate{} : lead.rate);
  stage.order = stage_order(sources, options);
  stage.colours = lead.colours;
  stage.background = options.background;
  stage.level = level;
  for (const auto& source : sources) reconcile(source->info(), stage, options);
  return stage;
}

}  // namespace dorfx
