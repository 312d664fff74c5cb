#include "foundation/yield.h"

namespace tollmere {

void ThrowEndOfProcess() { throw EndOfProcess(); }

}  // namespace tollmere
