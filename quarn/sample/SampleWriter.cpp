#include "quarn/sample/SampleWriter.h"

#include <algorithm>
#include <cerrno>
#include <vector>

#include "QuarnBuilders/BomBuilder.h"
#include "QuarnBuilders/MachOBuilder.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/paths/Path.h"
#include "quarn/sample/SampleContent.h"

namespace quarn::sample {
namespace {

constexpr std::string_view kSampleHome = "/Users/ann";
constexpr std::string_view kToolScript = "#!/bin/sh\nexit 0\n";
constexpr std::string_view kMarkedFolder = "/Users/ann/Movies/Slideshow project";
// The container of an iPhone app has a number as its name; the metadata in it names the app.
constexpr std::string_view kPhoneContainer = "/Users/ann/Library/Containers/7C1D2E3F-1111-4222-8333-944455566677";
constexpr std::string_view kPhoneIdentifier = "com.voyageapp.phone";
constexpr std::int64_t kFrom1970To2001 = 978'307'200;

std::string macPath(std::string_view path) {
  return path.starts_with("~/") ? std::string(kSampleHome) + std::string(path.substr(1)) : std::string(path);
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(separator), text.size());
    parts.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return parts;
}

void addText(PlistDictionary& dictionary, const char* key, std::string_view text) {
  if (!text.empty()) dictionary.emplace_back(key, std::string(text));
}

PlistDictionary infoOf(const App& app) {
  PlistDictionary info;
  addText(info, "CFBundleDisplayName", app.displayName);
  addText(info, "CFBundleExecutable", app.executable);
  addText(info, "CFBundleIdentifier", app.identifier);
  addText(info, "CFBundleName", app.name);
  info.emplace_back("CFBundlePackageType", "APPL");
  info.emplace_back("CFBundleShortVersionString", std::string(app.version));
  info.emplace_back("LSMinimumSystemVersion", "12.0");
  return info;
}

std::string infoBytes(const App& app) {
  const std::string xml = xmlPlist(infoOf(app));
  if (app.layout == Layout::brokenInfo) return xml.substr(0, xml.size() / 2);
  return app.layout == Layout::binary ? binaryPlist(infoOf(app)) : xml;
}

std::string programOf(const App& app) {
  MachOSigning signing{.groups = split(app.groups, ' '), .identifier = std::string(app.identifier)};
  signing.entitlements = {{"com.apple.security.app-sandbox", true}};
  switch (app.signing) {
    case Signing::none: return machO(kArm64);
    case Signing::xml: return signedMachO(signing);
    case Signing::der: signing.forms = EntitlementForms::der; return signedMachO(signing);
    case Signing::universal: break;
  }
  MachOSigning intel = signing;
  intel.cpu = kX86_64;
  return universalMachO(std::vector<MachOSigning>{intel, signing});
}

std::string settingsFor(const Item& item) {
  return binaryPlist(PlistDictionary{{"FirstLaunch", PlistDate{momentFor(item.path) - kFrom1970To2001}},
                                     {"State", PlistData{contentFor(item.path, item.bytes)}}});
}

std::string programName(const App& app) {
  return std::string(app.executable.empty() ? path::stem(app.path) : app.executable);
}

}  // namespace

SampleSummary SampleWriter::write() {
  summary_ = {.folder = writer_.hostFolder(), .home = std::string(kSampleHome)};
  for (const App& app : apps()) write(app);
  for (const auto items :
       {userItems(), appItems(), vendorItems(), developerItems(), gameItems(), systemItems(), oddItems()}) {
    for (const Item& item : items) write(item);
  }
  for (const Job& job : jobs()) write(job);
  for (const Receipt& receipt : receipts()) write(receipt);
  for (const KernelExtension& extension : kernelExtensions()) write(extension);
  addFile(std::string(kPhoneContainer) + "/.com.apple.containermanagerd.metadata.plist",
          binaryPlist(PlistDictionary{{"MCMMetadataIdentifier", std::string(kPhoneIdentifier)}}));
  markAsBundle(std::string(kMarkedFolder));
  dateEverything();
  return summary_;
}

void SampleWriter::write(const Item& item) {
  const std::string path = macPath(item.path);
  switch (item.form) {
    case Form::file: return addFile(path, contentFor(item.path, item.bytes));
    case Form::settings: return addFile(path, settingsFor(item));
    case Form::text: return addFile(path, item.text);
    case Form::tool: return addFile(path, kToolScript, 0755);
    case Form::folder: return writer_.folder(path), note(path + "/");
    case Form::sparse:
      writer_.sparse(path, item.bytes);
      summary_.logicalBytes += item.bytes;
      break;
    case Form::hardLink: writer_.hardLink(path, macPath(item.text)); break;
    case Form::link:
      writer_.link(path, std::string(item.text));
      ++summary_.links;
      return note(path);
  }
  ++summary_.files;
  note(path);
}

void SampleWriter::write(const App& app) {
  ++summary_.apps;
  const std::string bundle = macPath(app.path);
  switch (app.layout) {
    case Layout::wrapped: return writeWrapped(app);
    case Layout::withoutInfo: return writeBundle(app, "", bundle + "/Contents/MacOS");
    case Layout::resourcesInfo: return writeBundle(app, bundle + "/Resources/Info.plist", bundle);
    case Layout::supportInfo: return writeBundle(app, bundle + "/Support Files/Info.plist", bundle);
    case Layout::xml:
    case Layout::binary:
    case Layout::brokenInfo: break;
  }
  writeBundle(app, bundle + "/Contents/Info.plist", bundle + "/Contents/MacOS");
  addFile(bundle + "/Contents/PkgInfo", "APPL????");
}

void SampleWriter::writeBundle(const App& app, const std::string& info, const std::string& programFolder) {
  if (!info.empty()) addFile(info, infoBytes(app));
  addFile(programFolder + "/" + programName(app), programOf(app), 0755);
  const std::string resources =
      macPath(app.path) + (app.layout == Layout::resourcesInfo ? "" : "/Contents") + "/Resources";
  addFile(resources + "/AppIcon.icns", contentFor(app.path, app.bytes));
}

void SampleWriter::writeWrapped(const App& app) {
  const std::string bundle = macPath(app.path);
  const std::string inner = "Wrapper/" + std::string(path::lastComponent(app.path));
  addFile(bundle + "/" + inner + "/Info.plist", binaryPlist(infoOf(app)));
  addFile(bundle + "/" + inner + "/" + programName(app), programOf(app), 0755);
  addFile(bundle + "/" + inner + "/Assets.car", contentFor(app.path, app.bytes));
  addFile(bundle + "/Wrapper/iTunesMetadata.plist", xmlPlist(PlistDictionary{{"itemName", std::string(app.name)}}));
  writer_.link(bundle + "/WrappedBundle", inner);
  ++summary_.links;
  note(bundle + "/WrappedBundle");
}

void SampleWriter::write(const Job& job) {
  PlistDictionary list{{"Label", std::string(job.label)}};
  addText(list, "Program", job.program);
  PlistArray arguments;
  for (const std::string_view argument : job.arguments) {
    if (!argument.empty()) arguments.emplace_back(std::string(argument));
  }
  if (!arguments.empty()) list.emplace_back("ProgramArguments", std::move(arguments));
  list.emplace_back("RunAtLoad", true);
  addFile(macPath(job.path), plistBytes(list, job.format));
}

void SampleWriter::write(const Receipt& receipt) {
  const std::string base = std::string(receipt.folder) + "/" + std::string(receipt.packageIdentifier);
  PlistDictionary list{{"InstallDate", PlistDate{momentFor(receipt.packageIdentifier) - kFrom1970To2001}},
                       {"InstallPrefixPath", std::string(receipt.prefix)},
                       {"InstallProcessName", "Installer"},
                       {"PackageFileName", std::string(receipt.packageIdentifier) + ".pkg"},
                       {"PackageIdentifier", std::string(receipt.packageIdentifier)},
                       {"PackageVersion", std::string(receipt.version)}};
  addFile(base + ".plist", plistBytes(list, receipt.format));
  if (!receipt.hasBill) return;
  BomBuilder bill;
  for (const std::string& file : split(receipt.files, '\n')) bill.file(file, 1'000);
  addFile(base + ".bom", bill.bytes());
}

void SampleWriter::write(const KernelExtension& extension) {
  const std::string contents = std::string(extension.path) + "/Contents";
  const std::string program(path::stem(extension.path));
  PlistDictionary info;
  addText(info, "CFBundleExecutable", program);
  addText(info, "CFBundleIdentifier", extension.identifier);
  addText(info, "CFBundleName", extension.name);
  info.emplace_back("CFBundlePackageType", "KEXT");
  info.emplace_back("CFBundleVersion", "1.0.0");
  addFile(contents + "/Info.plist", xmlPlist(info));
  addFile(contents + "/MacOS/" + program, contentFor(extension.path, extension.bytes), 0755);
}

// A folder with an ordinary name that the Finder shows as a package, by its FinderInfo attribute. On a file system
// without extended attributes it stays a folder.
void SampleWriter::markAsBundle(const std::string& path) {
  std::string finderInfo(32, '\0');
  finderInfo[8] = '\x20';
  addFile(path + "/slide 1.png", contentFor(path, 60 * kKB));
  try {
    writer_.attribute(path, "user.com.apple.FinderInfo", finderInfo);
  } catch (const FileError& error) {
    if (error.error() != ENOTSUP) throw;
  }
}

void SampleWriter::addFile(const std::string& path, std::string_view content, mode_t bits) {
  writer_.file(path, content, bits);
  ++summary_.files;
  summary_.logicalBytes += static_cast<std::int64_t>(content.size());
  note(path);
}

// Folders end in "/", so that in descending order the content of a folder precedes the folder.
void SampleWriter::note(const std::string& path) {
  items_.insert(path);
  std::string folder = std::string(path::parent(path)) + "/";
  while (folder != "//" && items_.insert(folder).second) folder = std::string(path::parent(folder)) + "/";
}

void SampleWriter::dateEverything() {
  for (auto item = items_.rbegin(); item != items_.rend(); ++item) {
    if (item->ends_with('/')) ++summary_.folders;
    writer_.modified(*item, momentFor(*item));
  }
  writer_.modified("/", momentFor("/"));
}

}  // namespace quarn::sample
