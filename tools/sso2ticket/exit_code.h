// What the program's exit codes say.
#pragma once

namespace quorvanti {

enum class ExitCode {
    accepted = 0,
    rejected = 1,
    usage = 2,
    inputUnreadable = 3,  // or standard output cannot be written
    configuration = 4,    // key store, password or settings
    cryptoUnavailable = 5,
};

}  // namespace quorvanti
