// SPDX-License-Identifier: GPL-3.0-or-later
// Headers that most sources include and that never change: read once for all sources of a target.
// A source still names what it uses; this file only saves time.
#pragma once

#include <tl/expected.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

// {fmt} would optimise itself in a build that does not. GCC keeps that of a header read once, and
// headers that come after it would take the build for an optimised one.
#ifndef __OPTIMIZE__
#define __OPTIMIZE__ 1
#include <fmt/format.h>
#undef __OPTIMIZE__
#else
#include <fmt/format.h>
#endif
