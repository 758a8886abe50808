// SPDX-License-Identifier: GPL-3.0-or-later
// A source of nothing: its target carries the headers that many sources share, compiled once.
