// The subcommands, free of how their words are parsed: main.cpp fills the options, each command has
// a file of its own. They report through the session and throw nothing of their own.
#ifndef ZEVKA_HOST_CLI_COMMANDS_H
#define ZEVKA_HOST_CLI_COMMANDS_H

#include <optional>
#include <string>
#include <vector>

#include "host/cli/session.h"

namespace zevka::host {

// Prints the parts of each message as a tree.
struct ShowOptions {
  std::vector<std::string> files;
};
void RunShow(Session& session, const ShowOptions& options);

// Prints the header fields of a message.
struct HeadersOptions {
  std::string file;
};
void RunHeaders(Session& session, const HeadersOptions& options);

// Adds a footer text to each message.
struct FooterOptions {
  std::string text;  // UTF-8
  std::optional<std::string>
      output;  // a folder for the results; none: each message in its own file
  std::vector<std::string> files;
};
void RunFooter(Session& session, const FooterOptions& options);

// Replaces the first field of a name, or adds one.
struct SetHeaderOptions {
  std::string name;
  std::string value;  // one line of UTF-8
  bool add = false;   // also when there is one of that name
  std::string file;
};
void RunSetHeader(Session& session, const SetHeaderOptions& options);

// Writes every decoded leaf into a folder.
struct ExtractOptions {
  std::string file;
  std::string output;
};
void RunExtract(Session& session, const ExtractOptions& options);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_COMMANDS_H
