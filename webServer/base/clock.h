// base/clock.h: the monotonic clock. Setting the unit's clock does not change it.
#pragma once

#include <cstdint>

using Milliseconds = int64_t;

Milliseconds monotonicNow();
