#include "quarn/commands/AppSelection.h"

#include <algorithm>
#include <functional>
#include <iterator>

#include "QuarnPlatform/text/Text.h"
#include "quarn/commands/Suggestions.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

using Apps = std::vector<AppEntity>;

Apps filtered(const Apps& apps, const std::function<bool(const AppEntity&)>& predicate) {
  Apps result;
  std::copy_if(apps.begin(), apps.end(), std::back_inserter(result), predicate);
  return result;
}

/// Ways to interpret the word as an app, most specific first.
std::vector<std::function<bool(const AppEntity&)>> readings(
    const std::string& word, const FileURL& home, const std::function<std::string(const FileURL&)>& resolved) {
  const bool isHomePath = word.starts_with("~/");
  const std::optional<FileURL> url = FileURL::parse(isHomePath ? home.path() + word.substr(1) : word);
  const std::string wantedPath = url ? resolved(*url) : "";
  const std::string lowercased = Text::lowercased(word);
  const std::string key = Text::normalizedKey(word);
  const auto identifier = [](const AppEntity& app) { return Text::lowercased(app.bundleIdentifier.value_or("")); };
  return {
      [=](const AppEntity& app) { return !wantedPath.empty() && resolved(app.bundleURL) == wantedPath; },
      [=](const AppEntity& app) { return app.bundleIdentifier && identifier(app) == lowercased; },
      [=](const AppEntity& app) { return app.name == word; },
      [=](const AppEntity& app) { return Text::normalizedKey(app.name) == key; },
      [=](const AppEntity& app) {
        return Text::contains(Text::normalizedKey(app.name), key) || Text::contains(identifier(app), lowercased);
      },
  };
}

std::string described(const AppEntity& app) {
  return escapedForTerminal(app.name) + "  " + escapedForTerminal(app.bundleIdentifier.value_or("no identifier")) +
         "  " + escapedForTerminal(app.bundleURL.path());
}

[[noreturn]] void refuseAmbiguous(const std::string& word, const Apps& candidates) {
  std::string problem = "\"" + escapedForTerminal(word) + "\" matches several apps; name one by identifier or path:";
  for (const AppEntity& app : candidates) problem += "\n  " + described(app);
  throw AmbiguousApp(problem, candidates);
}

[[noreturn]] void refuseUnknown(const std::string& word, const Apps& apps) {
  std::vector<std::string> names;
  for (const AppEntity& app : apps) names.push_back(app.name);
  std::string problem = "no app \"" + escapedForTerminal(word) + "\"";
  if (const auto meant = nearest(word, names)) problem += "; did you mean \"" + escapedForTerminal(*meant) + "\"?";
  throw CommandError(ExitCode::notFound, problem);
}

AppEntity selectFrom(const Apps& apps, const std::string& word, const FileURL& home,
                     const std::function<std::string(const FileURL&)>& resolved) {
  for (const auto& reading : readings(word, home, resolved)) {
    const Apps candidates = filtered(apps, reading);
    if (candidates.size() == 1) return candidates.front();
    if (candidates.size() > 1) refuseAmbiguous(word, candidates);
  }
  refuseUnknown(word, apps);
}

}  // namespace

AppEntity selectApp(CommandContext& context, const std::string& word) {
  if (const Scan* scan = context.scan()) {
    Apps apps;
    for (ScannedApp& app : scan->apps(/*withInspections=*/false)) apps.push_back(std::move(app.inspection.app));
    return selectFrom(apps, word, scan->facts().home, [](const FileURL& url) { return url.path(); });
  }
  const Services& services = context.services();
  return selectFrom(services.appsService().discoverApps(), word, services.files.homeDirectory(),
                    [&](const FileURL& url) { return services.files.resolvedPath(url); });
}

}  // namespace quarn
