#pragma once

// Included first by every source of a mutation build (see tests/mutation/run). Each mutant is
// compiled beside the code that it replaces; an environment variable selects the active mutant.

#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace pelorin_mutation {

inline constexpr int maxMutants = 20000;

/// True if `number` is the mutant that PELORIN_MUTANT names. If PELORIN_MUTANT_LOG is set to a
/// file's path, the number of every mutant that is reached is appended to that file, once per
/// process.
inline bool alive(int number) {
    static const char *const wanted = std::getenv("PELORIN_MUTANT");
    static const int chosen = wanted ? std::atoi(wanted) : 0;
    static const char *const log = std::getenv("PELORIN_MUTANT_LOG");
    static std::atomic<bool> seen[maxMutants];
    if (log && !seen[number].exchange(true)) {
        char line[16];
        int at = sizeof line;
        line[--at] = '\n';
        for (int rest = number; rest > 0; rest /= 10)
            line[--at] = static_cast<char>('0' + rest % 10);
        const int file = ::open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        if (file >= 0) {
            [[maybe_unused]] const auto written =
                ::write(file, line + at, sizeof line - static_cast<unsigned>(at));
            ::close(file);
        }
    }
    return chosen == number;
}

}  // namespace pelorin_mutation

#define PELORIN_ALIVE(number) ::pelorin_mutation::alive(number)
