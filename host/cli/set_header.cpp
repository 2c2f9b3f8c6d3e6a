#include "host/cli/commands.h"

namespace zevka::host {

void AddSetHeader(CLI::App& /*app*/, Session& /*session*/) {}

}  // namespace zevka::host
