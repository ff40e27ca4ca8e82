// A colour through an 8-bit texture. Even unfiltered the texture is sampled between texels, and the widest
// filter both ways shares the kernel of the next narrower one.
#include "dorbmp/mapping/spans/span.h"

namespace dorbmp::spans::plain {

constinit const KindTables<AuxSpan> matte_yuy2 = make_tables<ColorThroughMatte<FillYuy2>, Box<2, 2>, 19>();
constinit const KindTables<AuxSpan> matte_rgb32 = make_tables<ColorThroughMatte<FillRgb32>, Box<2, 2>, 19>();

}  // namespace dorbmp::spans::plain
