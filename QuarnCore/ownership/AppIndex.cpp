#include "QuarnCore/ownership/AppIndex.h"

#include <algorithm>
#include <utility>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

constexpr std::size_t kShortestKey = 3;

// "Example" of "Example Notes". The folder of the vendor may have this name.
std::string_view firstWord(std::string_view name) { return name.substr(0, name.find_first_of(" -_.")); }

// A hostile bundle may have a name of many megabytes. The name of an entry has at most 255 bytes.
std::string_view withinEntryName(std::string_view text) {
  constexpr std::size_t kLongest = 255;
  return text.size() > kLongest ? std::string_view() : text;
}

// Calls `use` for each key of a name. Most names have one.
template <class Use>
void eachKey(const NameKeys& keys, const Use& use) {
  use(keys.plain);
  if (keys.unversioned != keys.plain) use(keys.unversioned);
  if (keys.reduced != keys.unversioned) use(keys.reduced);
}

}  // namespace

AppIndex::AppIndex(const std::vector<AppEntity>& apps, const std::vector<AppFacts>& facts) {
  const AppFacts none;
  for (std::uint32_t i = 0; i < apps.size(); ++i) {
    const AppFacts& known = i < facts.size() ? facts[i] : none;
    addIdentifiers(apps[i], known, i);
    addNames(apps[i], known, i);
  }
}

const AppList* AppIndex::find(Key key, std::string_view text) const {
  const Lists& lists = lists_[static_cast<std::size_t>(key)];
  const auto found = lists.find(text);
  return found == lists.end() ? nullptr : &found->second;
}

std::string AppIndex::joined(std::string_view first, std::string_view second) {
  return std::string(first) + '/' + std::string(second);
}

std::string AppIndex::vendorKey(std::string_view vendor) {
  std::string key(vendor);
  std::erase_if(key, [](char c) { return c == '-' || c == '_'; });
  return key;
}

void AppIndex::add(Key key, std::string text, std::uint32_t app) {
  if (text.empty()) return;
  AppList& apps = lists_[static_cast<std::size_t>(key)][std::move(text)];
  if (apps.empty() || apps.back() != app) apps.push_back(app);
}

void AppIndex::addIdentifiers(const AppEntity& app, const AppFacts& facts, std::uint32_t index) {
  if (app.bundleIdentifier) {
    const std::string identifier = Text::lowercased(withinEntryName(*app.bundleIdentifier));
    const std::string vendor = vendorKey(vendorOf(identifier));
    add(Key::identifier, identifier, index);
    add(Key::vendor, vendor, index);
    add(Key::vendorName, nameKey(vendorNameOf(identifier)), index);
  }
  for (const std::string& text : facts.embeddedIdentifiers) {
    add(Key::embedded, Text::lowercased(withinEntryName(text)), index);
  }
  for (const std::string& text : facts.groups) add(Key::group, Text::lowercased(withinEntryName(text)), index);
  for (const std::string& text : facts.helpers) add(Key::helper, Text::lowercased(withinEntryName(text)), index);
  add(Key::team, facts.team, index);
}

void AppIndex::addNames(const AppEntity& app, const AppFacts& facts, std::uint32_t index) {
  const std::string spelled = app.bundleIdentifier.value_or("");
  const std::string identifier = Text::lowercased(withinEntryName(spelled));
  const std::string vendor = vendorKey(vendorOf(identifier));
  const std::string vendorName = nameKey(vendorNameOf(identifier));
  const std::string_view lastPart = lastMeaningfulPart(withinEntryName(spelled));

  std::vector<std::string> keys;
  std::vector<std::string_view> added;
  const auto addName = [&](std::string_view name, bool isDisplayed) {
    // Most apps have one name. Displayed ones come first and add more.
    if (std::find(added.begin(), added.end(), name) != added.end()) return;
    added.push_back(name);
    const NameKeys ofName = nameKeysOf(name);
    if (isDisplayed) add(Key::name, ofName.plain, index);
    eachKey(ofName, [&](const std::string& key) {
      if (key.size() < kShortestKey || isGenericWord(key)) return;
      add(Key::reducedName, key, index);
      keys.push_back(key);
    });
    addFolders(name, ofName, vendorName, index);
  };
  addName(withinEntryName(app.name), true);
  addName(withinEntryName(path::stem(app.bundleURL.path())), true);
  for (const std::string& name : facts.otherNames) addName(withinEntryName(name), true);
  addName(lastPart, false);
  if (!vendor.empty()) {
    for (const std::string& key : keys) add(Key::vendorApp, joined(vendor, key), index);
  }
}

void AppIndex::addFolders(std::string_view name, const NameKeys& keys, const std::string& vendor, std::uint32_t index) {
  const auto addIn = [&](const std::string& folder, const NameKeys& inner) {
    if (folder.size() < 2) return;
    eachKey(inner, [&](const std::string& key) {
      if (key.size() < 2) return;
      add(Key::folderApp, joined(folder, key), index);
      folders_.insert(folder);
    });
  };
  addIn(vendor, keys);
  const std::string_view first = firstWord(name);
  if (first.empty() || first.size() == name.size()) return;
  const std::string firstKey = nameKey(first);
  const NameKeys rest = nameKeysOf(name.substr(first.size()));
  addIn(firstKey, keys);
  addIn(firstKey, rest);
  addIn(vendor, rest);
}

}  // namespace quarn
