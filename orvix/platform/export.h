// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// Marks the host-facing classes and functions; everything else stays hidden in the library.
/// ORVIX_BUILDING is defined while the library's own sources are compiled, ORVIX_STATIC by
/// programs that link its objects directly.
#if defined(_WIN32) && !defined(ORVIX_STATIC)
#if defined(ORVIX_BUILDING)
#define ORVIX_API __declspec(dllexport)
#else
#define ORVIX_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define ORVIX_API __attribute__((visibility("default")))
#else
#define ORVIX_API
#endif

/// The same for the importer, which is a library of its own and has a private copy of what it uses.
#if defined(_WIN32) && defined(ORVIX_BUILDING_IMPORTER)
#define ORVIX_IMPORTER_API __declspec(dllexport)
#else
#define ORVIX_IMPORTER_API ORVIX_API
#endif
