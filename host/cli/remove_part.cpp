#include "host/cli/commands.h"

namespace zevka::host {

void AddRemovePart(CLI::App& /*app*/, Session& /*session*/) {}

}  // namespace zevka::host
