/// What a command throws to end the program with one line on stderr: the file, what is wrong, what was expected.
#ifndef KYFOCUS_APP_ERRORS_H
#define KYFOCUS_APP_ERRORS_H

#include <stdexcept>

namespace app {

/// Exit statuses of the program.
enum ExitStatus : int { kExitOk = 0, kExitFailure = 1, kExitUsage = 2, kExitCancelled = 3 };

/// The work could not be done. Ends the program with kExitFailure.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The command line asks for something that cannot be. Ends the program with kExitUsage.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The user has called the work off. Ends the program with kExitCancelled.
struct Cancelled : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace app

#endif
