// What the clips are brought to, and what they are told on the way.
#pragma once

#include <memory>
#include <vector>

#include "dorfx/frame_source.h"
#include "dorfx/options.h"
#include "dorfx/stage.h"

namespace dorfx {

using Sources = std::vector<std::unique_ptr<FrameSource>>;

Sources open_sources(const Options& options);

// The shape, rate and colours of the first clip that is not a still picture. Says which clips are changed;
// with --fit error throws Failure instead.
Stage choose_stage(const Sources& sources, const Options& options, int level);

// How a clip's fields are taken: as it says, or as the command line says where it does not.
FieldOrder fields_of(const VideoInfo& info, const Options& options);

}  // namespace dorfx
