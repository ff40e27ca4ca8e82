// 16-bit planes, samples unsigned over their whole range.
#include "dorbmp/mapping/spans/span.h"

namespace dorbmp::spans::plain {

constinit const KindTables<AffineSpan> key16_affine = make_tables<Affine<Key16, PutKey16>>();
constinit const KindTables<PerspectiveSpan> key16_perspective = make_tables<Perspective<Key16, PutKey16>>();

}  // namespace dorbmp::spans::plain
