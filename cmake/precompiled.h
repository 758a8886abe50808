// SPDX-License-Identifier: GPL-3.0-or-later
// Headers that most sources include and that never change: read once for all sources of a target.
// A source still names what it uses; this file only saves time.
#pragma once

#include <fmt/format.h>
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
