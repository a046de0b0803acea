// base/units.h: sizes of memory in bytes.
#pragma once

#include <cstddef>

constexpr std::size_t KIB = 1024;
constexpr std::size_t MIB = 1024 * KIB;
