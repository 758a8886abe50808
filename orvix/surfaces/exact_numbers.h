// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::detail {

/// From now on exact numbers throw std::bad_alloc where memory ends; by itself the library of them
/// ends the program then. For a program of our own: the setting is the whole process's.
///
/// Threads  before other threads compute.
void ThrowWhereNumbersLackMemory();

}  // namespace orvix::detail
