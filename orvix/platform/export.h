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

/// Marks the inline members of host-facing classes that have a symbol in the library beside their
/// inline copies, and the constant in the class's source that names them all, which is what makes
/// the compiler emit them. Windows exports them with their class.
#if !defined(_WIN32) && defined(__GNUC__)
#define ORVIX_INLINE_API __attribute__((visibility("default")))
#define ORVIX_EMITTED __attribute__((used))
#else
#define ORVIX_INLINE_API
#define ORVIX_EMITTED
#endif

/// What ORVIX_API says, for the importer, which is a library of its own and has a private copy of what it uses.
#if defined(_WIN32) && defined(ORVIX_BUILDING_IMPORTER)
#define ORVIX_IMPORTER_API __declspec(dllexport)
#else
#define ORVIX_IMPORTER_API ORVIX_API
#endif
