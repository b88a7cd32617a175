#include "TerminalColors.h"

#include <unistd.h>

namespace pelorinnews {

TerminalColors TerminalColors::ofStandardOutput() {
    return TerminalColors(isatty(STDOUT_FILENO) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR") &&
                          qgetenv("TERM") != "dumb");
}

}  // namespace pelorinnews
