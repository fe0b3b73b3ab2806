#pragma once

// Where the sandbox keeps its state beyond the process: nowhere (the default), or an SQLite
// database file (`brivane sandbox --data FILE`). The routes always work on the Store in memory,
// under the state's mutex; after each request the storage is brought up to date with it, in one
// transaction, before the answer leaves. Since every operation holds the mutex from start to end,
// what is saved is always the state between two whole operations.

#include <memory>
#include <string>

#include "sandbox/Sandbox.h"

namespace brivane::sandbox {

/// Keeps the state of a sandbox. Thread rules: called only with the state's mutex held.
class Storage {
 public:
  virtual ~Storage() = default;
  /// Fills `state` (its Store, tokens and faults) with what was kept; false when nothing was kept
  /// yet, and the sandbox starts from its seed data. Sets `error` when what was kept is damaged.
  virtual bool load(Sandbox::State& state, std::string* error) = 0;
  /// Keeps `state` as it is now, in one transaction; "" on success, otherwise what went wrong
  /// (and what was kept before stays as it was).
  virtual std::string save(const Sandbox::State& state) = 0;
};

/// Keeps nothing: the state lives in memory only, as long as the process.
std::unique_ptr<Storage> memoryStorage();

/// The schema version this build writes (PRAGMA user_version of the database file).
inline constexpr int kDatabaseVersion = 1;

/// Opens (creating it when absent) the sandbox database at `path`, or returns nil with `error`
/// saying why: not an SQLite file, another program's database, a schema version this build does
/// not read, a file another sandbox is using, or one that cannot be opened.
std::unique_ptr<Storage> openDatabase(const std::string& path, std::string* error);

}  // namespace brivane::sandbox
