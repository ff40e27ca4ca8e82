// A contact sheet: frames of the transitions side by side in one PNG.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "dorfx/av.h"
#include "dorfx/frame.h"
#include "dorfx/scaler.h"
#include "dorfx/stage.h"
#include "dorfx/timeline.h"

namespace dorfx {

// The frames of the result that show `count` even steps of each transition, both ends included. In rising
// order.
std::vector<int64_t> sheet_frames(const Timeline& timeline, int count);

class ContactSheet {
 public:
  ContactSheet(const Stage& stage, int columns);

  // The next tile, row by row.
  void add(const Frame& frame);

  bool empty() const { return tiles_.empty(); }

  // Not of an empty one.
  void save(const std::string& path) const;

 private:
  Stage stage_;
  int columns_;
  int tile_width_, tile_height_;
  std::vector<AvOwner<AVFrame>> tiles_;
  Scaler scaler_;
};

}  // namespace dorfx
