// 32-bit texels onto a 32-bit destination, all four bytes alike.
#include "dorbmp/mapping/spans/span.h"

namespace dorbmp::spans::plain {

constinit const KindTables<AffineSpan> rgb32_affine = make_tables<Affine<Rgb32, PutRgb32>>();
constinit const KindTables<PerspectiveSpan> rgb32_perspective = make_tables<Perspective<Rgb32, PutRgb32>>();
constinit const KindTables<AuxSpan> rgb32_depth = make_tables<DepthTested<Rgb32, PutRgb32>>();

}  // namespace dorbmp::spans::plain
