// The subcommands. Each has a file of its own, which says its words to the parser; what it does
// runs while they are parsed. They report through the session and throw nothing of their own.
//
// What several commands share: session.h (the library, errors), inputs.h (files, folders,
// mailboxes), batch.h (many messages, progress, summary).
#ifndef ZEVKA_HOST_CLI_COMMANDS_H
#define ZEVKA_HOST_CLI_COMMANDS_H

#include "host/cli/session.h"

namespace CLI {
class App;
}

namespace zevka::host {

// Both must outlive the parsing.
void AddShow(CLI::App& app, Session& session);
void AddHeaders(CLI::App& app, Session& session);
void AddBody(CLI::App& app, Session& session);
void AddExtract(CLI::App& app, Session& session);
void AddCheck(CLI::App& app, Session& session);
void AddFooter(CLI::App& app, Session& session);
void AddSetHeader(CLI::App& app, Session& session);
void AddRemovePart(CLI::App& app, Session& session);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_COMMANDS_H
