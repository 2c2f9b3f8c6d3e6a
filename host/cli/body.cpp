#include "host/cli/commands.h"

namespace zevka::host {

void AddBody(CLI::App& /*app*/, Session& /*session*/) {}

}  // namespace zevka::host
