#include "dorbmp/platform/stack.h"

namespace dorbmp::platform {

OnForeignStack::OnForeignStack(void*) {}
OnForeignStack::~OnForeignStack() {}

}  // namespace dorbmp::platform
