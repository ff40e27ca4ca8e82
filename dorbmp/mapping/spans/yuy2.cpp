// Packed 4:2:2 onto packed 4:2:2.
#include "dorbmp/mapping/spans/span.h"

namespace dorbmp::spans::plain {

constinit const KindTables<AffineSpan> yuy2_affine = make_tables<Affine<Yuy2, PutYuy2>>();
constinit const KindTables<PerspectiveSpan> yuy2_perspective = make_tables<Perspective<Yuy2, PutYuy2>>();
constinit const KindTables<AuxSpan> yuy2_depth = make_tables<DepthTested<Yuy2, PutYuy2>>();

}  // namespace dorbmp::spans::plain
