#include "quarn/commands/PathArgument.h"

#include "quarn/terminal/TerminalText.h"

namespace quarn {

FileURL pathArgument(const std::string& text, CommandContext& context) {
  const FileManager& files = context.services().files;
  if (text == "~") return files.homeDirectory();
  if (text.starts_with("~/")) return files.url(files.homeDirectory(), text.substr(2));
  const std::optional<FileURL> url = FileURL::parse(text);
  if (!url) throw UsageError("\"" + escapedForTerminal(text) + "\" is not an absolute path");
  return *url;
}

}  // namespace quarn
