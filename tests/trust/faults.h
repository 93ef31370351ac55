/// Files that fail on demand: stands before the system's calls for one folder and all below it.
///
/// Linked into a test binary it is armed by Arm. Loaded ahead of a program (LD_PRELOAD) it is armed by the environment:
/// KY_FAULT_KIND, KY_FAULT_AT, KY_FAULT_FOLDER and KY_FAULT_GONE as in Plan, and KY_FAULT_REPORT names the file that
/// receives the number of calls that could have failed. What the C library writes when it closes or flushes a stream
/// fails with the call that asks for it; other calls that it makes inside itself are not seen.
#ifndef KYFOCUS_TESTS_TRUST_FAULTS_H
#define KYFOCUS_TESTS_TRUST_FAULTS_H

#include <string>

namespace test::faults {

enum class Kind {
    None,
    NoSpace,      ///< what makes or fills files gives ENOSPC, from the n-th such call on
    IoError,      ///< one call on a file or folder gives EIO, unless it deletes
    NoPermission, ///< what opens, makes, changes, renames or deletes gives EACCES, from the n-th such call on
    NoRename,     ///< one call that renames gives EIO
    Short,        ///< reads and writes move a third of what they are asked for
    Interrupted,  ///< every other read and write gives EINTR
    Killed,       ///< the process is killed at the n-th call, a write by then half done
    Removed,      ///< all below a folder is deleted ahead of the n-th call
    Held,         ///< the n-th call never ends
    KilledEnding, ///< the process is killed at the n-th call that deletes, in the thread that a signal has woken
    Undeletable,  ///< what deletes gives EIO where the name of the file begins with "undeletable"
    ServerLocks   ///< locking a file for oneself that is open for reading alone gives EBADF
};

struct Plan {
    Kind What = Kind::None;
    int At = 0;         ///< counted from 0; Short and Interrupted concern all calls
    std::string Folder; ///< absolute, without links
    std::string Gone{}; ///< what Removed empties
};

/// From now on.
[[gnu::visibility("default")]] void Arm(const Plan& plan);

/// Ends it. @return calls that the plan's kind concerns, so far: those from this number on have not been met.
[[gnu::visibility("default")]] int Disarm();

} // namespace test::faults

#endif
