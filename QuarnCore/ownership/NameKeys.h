#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// What entries and apps are compared by. Pure functions, safe from any thread.

/// The name folded (case, diacritics) with letters and digits alone: "My App-2.0" gives "myapp20".
std::string nameKey(std::string_view name);

/// The key of the name without the words at its end that say a version, a channel, an edition, or which part of an app
/// writes there: "My App Beta 3", "my-app-updater" and "MyAppDesktop" all give "myapp". The name's own key when nothing
/// else is left.
std::string reducedNameKey(std::string_view name);

/// The name key without version and channel alone, so "My App Helper" stays what it is.
std::string unversionedNameKey(std::string_view name);

/// Whether the text has the shape of an identifier: names with dots between them, the first of which may begin one.
bool looksLikeIdentifier(std::string_view lowercased);

/// Whether the text is names of letters, digits, "-" and "_" with dots between them.
bool hasIdentifierForm(std::string_view text);

/// "example" of "example.org", for names that are a web site's; empty for any other.
std::string_view withoutDomain(std::string_view name);

/// The part of a lower-cased identifier that says whose it is, "com.example" of "com.example.app"; empty when it has
/// none, and when developers of all kinds share it ("com.github").
std::string_view vendorOf(std::string_view lowercased);

/// The vendor's own name, "example" of "com.example.app"; empty without a vendor.
std::string_view vendorNameOf(std::string_view lowercased);

/// The last part of an identifier that says more than "app" or "mac": "notes" of "com.example.notes.mac".
std::string_view lastMeaningfulPart(std::string_view identifier);

/// An entry's name without what its place adds: endings such as ".plist" and ".savedState", and the marks of crash
/// reports and of hosts. `place` texts are in lower case.
std::string_view withoutDecorations(std::string_view name);

/// The identifier without a team ("AB12CD34EF."), "group." and "iCloud." before it; the whole when it has none.
std::string_view withoutIdentifierPrefix(std::string_view identifier);

/// The team identifier before the first dot, or empty.
std::string_view teamPrefixOf(std::string_view identifier);

/// Whether the word at the end of names says nothing of whose they are ("beta", "helper", "desktop").
bool isGenericWord(std::string_view lowercased);

}  // namespace quarn
