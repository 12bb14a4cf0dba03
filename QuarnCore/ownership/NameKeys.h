#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// Keys that compare the names of entries and apps. Pure functions, safe from any thread.

/// The letters and digits of the name, without case and diacritics: "My App-2.0" gives "myapp20".
std::string nameKey(std::string_view name);

/// The key of the name without trailing words for a version, a channel, an edition or a part of an app: "My App Beta
/// 3", "my-app-updater" and "MyAppDesktop" all give "myapp". If less than two characters are left, the key of the whole
/// name.
std::string reducedNameKey(std::string_view name);

/// The same, but drops versions and channels only: "My App Helper 3" gives "myapphelper".
std::string unversionedNameKey(std::string_view name);

/// All three, in one pass.
struct NameKeys {
  std::string plain;  ///< `nameKey`
  std::string unversioned;
  std::string reduced;
};
NameKeys nameKeysOf(std::string_view name);

/// Whether the text looks like an identifier: parts with dots between them, and a first part that is common in
/// identifiers ("com") or at least three parts.
bool looksLikeIdentifier(std::string_view lowercased);

/// Whether the text consists of parts of letters, digits, "-" and "_" with dots between them.
bool hasIdentifierForm(std::string_view text);

/// "example" of "example.org"; empty if the name does not end in a domain.
std::string_view withoutDomain(std::string_view name);

/// The vendor's part of a lower-cased identifier: "com.example" of "com.example.app". Empty if there is none, or if
/// many developers share it ("com.github").
std::string_view vendorOf(std::string_view lowercased);

/// The name of the vendor: "example" of "com.example.app". Empty without a vendor.
std::string_view vendorNameOf(std::string_view lowercased);

/// The last part of an identifier that is not a generic word such as "app" or "mac": "notes" of
/// "com.example.notes.mac".
std::string_view lastMeaningfulPart(std::string_view identifier);

/// The name of an entry without what its place adds: endings such as ".plist" and ".savedState", and the marks of crash
/// reports and hosts.
std::string_view withoutDecorations(std::string_view name);

/// The identifier without a leading team ("AB12CD34EF."), "group." and "iCloud.".
std::string_view withoutIdentifierPrefix(std::string_view identifier);

/// The team identifier before the first dot; empty if there is none.
std::string_view teamPrefixOf(std::string_view identifier);

/// Whether the word says nothing about the owner of a name that ends in it ("beta", "helper", "desktop").
bool isGenericWord(std::string_view lowercased);

}  // namespace quarn
