#include "quarn/commands/PathArgument.h"

#include <cerrno>

#include "QuarnPlatform/base/FileError.h"
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

FileURL folderArgument(const std::string& text, CommandContext& context) {
  FileURL url = pathArgument(text, context);
  const FileManager& files = context.services().files;
  const std::optional<ItemFacts> own = files.facts(url, Links::doNotFollow);
  if (own && own->type == FileType::directory) return url;
  const std::optional<ItemFacts> facts = files.facts(url, Links::follow);
  if (!facts) throwFileError("list", url.path());
  if (facts->type != FileType::directory) throwFileError(ENOTDIR, "list", url.path());
  return FileURL(files.realPath(url).value_or(url.path()), URLKind::directory);
}

std::vector<FileURL> folderArguments(CommandContext& context) {
  std::vector<FileURL> folders;
  for (const std::string& text : context.arguments().positionals) folders.push_back(folderArgument(text, context));
  return folders;
}

}  // namespace quarn
