#pragma once

/// Marks what the SDK's libraries export: the public classes and functions. The libraries are
/// built with hidden visibility, so everything else stays inside them.
#if defined(__GNUC__) || defined(__clang__)
#define BRIVANE_API __attribute__((visibility("default")))
#else
#define BRIVANE_API
#endif
