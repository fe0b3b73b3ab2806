#pragma once

namespace brivane::cli {

/// The exit code of a command whose result was `status`, once its standard output is written:
/// 1 with a message on standard error when a write failed (a full disk, a closed pipe), else
/// `status`.
int finishOutput(int status);

/// Flushes standard output; false with a message on standard error when the output is lost.
bool flushOutput();

}  // namespace brivane::cli
