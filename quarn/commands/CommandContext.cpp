#include "quarn/commands/CommandContext.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <unistd.h>

#include "QuarnPlatform/files/HostFile.h"
#include "QuarnPlatform/files/ListingCount.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/resources/Localization.h"
#include "QuarnSystem/DiagnosticsLogger.h"
#include "quarn/browse/BrowseScreen.h"
#include "quarn/commands/Interrupt.h"
#include "quarn/commands/Sandbox.h"
#include "quarn/commands/VolumeOptions.h"
#include "quarn/services/Knowledge.h"
#include "quarn/terminal/PathText.h"
#include "quarn/terminal/ProgressLine.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

SizeUnits unitsOf(const Arguments& arguments) {
  if (arguments.has("--bytes")) return SizeUnits::bytes;
  if (arguments.has("--iec")) return SizeUnits::iec;
  const std::optional<std::string> units = arguments.text("--units");
  return units ? fromRawValue<SizeUnits>(*units).value() : SizeUnits::decimal;
}

ColorChoice colorsOf(const Arguments& arguments) {
  if (arguments.has("--json") || arguments.has("--ndjson")) return ColorChoice::never;
  const std::optional<std::string> choice = arguments.text("--color");
  return choice ? fromRawValue<ColorChoice>(*choice).value() : ColorChoice::automatic;
}

std::string environmentLocale() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') continue;
    const std::string locale = std::string(value).substr(0, std::string_view(value).find('.'));
    return locale == "C" || locale == "POSIX" ? "" : locale;
  }
  return "";
}

// The texts of a page must be in the language of the page.
void useLocaleOf(const Arguments& arguments) {
  const bool isInEnglish = arguments.command != nullptr && arguments.command->isInEnglish;
  useLocalization(isInEnglish ? "en" : arguments.text("--locale").value_or(environmentLocale()),
                  ResourceBundle::shipped());
}

ResourceBundle resourcesIn(const std::string& folder) {
  std::error_code error;
  const auto status = std::filesystem::status(folder, error);
  if (!std::filesystem::is_directory(status)) throwFileError(error ? error.value() : ENOTDIR, "open", folder);
  return ResourceBundle(folder);
}

// A folder without anything to add is probably a typing error.
ResourceBundle knowledgeIn(const std::string& folder) {
  ResourceBundle bundle = resourcesIn(folder);
  if (addsKnowledge(bundle)) return bundle;
  throw CommandError(ExitCode::notFound, escapedForTerminal(folder) +
                                             " has no vendor profiles (vendors/index.json names them) and no "
                                             "storage-signatures.json");
}

// The system's libraries, what the screen needs, and what the command writes; the log is open already.
SandboxRules systemRules(const Arguments& arguments) {
  SandboxRules rules{.readable = {"/usr/lib", "/lib", "/lib64", "/usr/share/locale"}};
  if (arguments.command->usesScreen) {
    for (std::string& folder : terminalDescriptionFolders()) rules.readable.push_back(std::move(folder));
  }
  const std::string output = arguments.text("--output").value_or("-");
  if (output != "-") rules.writable.push_back(writtenPlace(output));
  for (const std::string_view option : {"--export", "--scans"}) {
    if (const std::optional<std::string> folder = arguments.text(option)) rules.writable.push_back(*folder);
  }
  return rules;
}

// The volume and what the program ships besides.
SandboxRules sandboxRules(const Arguments& arguments, const std::string& volume, const std::string& resources) {
  SandboxRules rules = systemRules(arguments);
  for (const std::string& path : {volume, resources, ResourceBundle::shipped().folder()})
    rules.readable.push_back(path);
  for (std::string& folder : arguments.texts("--knowledge")) rules.readable.push_back(std::move(folder));
  rules.readable.emplace_back("/sys/devices/system/cpu");
  return rules;
}

}  // namespace

nlohmann::ordered_json versioned(const nlohmann::ordered_json& members) {
  nlohmann::ordered_json result{{"schemaVersion", kSchemaVersion}};
  result.update(members);
  return result;
}

std::string documentText(const nlohmann::ordered_json& value, int indent) {
  return escapedJSON(value.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace)) + "\n";
}

CommandContext::CommandContext(Arguments arguments)
    : arguments_(std::move(arguments)),
      out_(Terminal::of(STDOUT_FILENO, colorsOf(arguments_))),
      err_(Terminal::of(STDERR_FILENO, colorsOf(arguments_))),
      units_(unitsOf(arguments_)),
      report_(std::make_shared<ReadReport>()) {}

// The process ends with its command: the system frees the memory of the services faster than destructors do.
CommandContext::~CommandContext() {
  [[maybe_unused]] static const Services* untilTheEnd = nullptr;
  untilTheEnd = services_.release();
  const bool isLogWhole = DiagnosticsLogger::shared().close();
  if (!isLogWhole && !isQuiet()) std::fputs("quarn: the log could not be written whole\n", stderr);
}

const Services& CommandContext::services() {
  if (!services_) services_ = openServices();
  return *services_;
}

const Cancellation& CommandContext::cancellation() {
  if (!cancellation_) cancellation_ = interruptedFlag();
  return *cancellation_;
}

// Of the others, one draws the screen itself and the rest answer at once or, as a server, to its client.
bool CommandContext::isStoppable() const {
  return arguments_.command != nullptr && arguments_.command->needsVolume && !arguments_.command->usesScreen;
}

std::unique_ptr<Services> CommandContext::openServices() {
  const std::optional<std::string> folder = arguments_.text("--resources");
  const auto reporting = [report = report_](const ResourceBundle& bundle) {
    return bundle.reportingTo([report](const std::string& path, int error) { report->add(path, error); });
  };
  const ResourceBundle bundle = reporting(folder ? resourcesIn(*folder) : ResourceBundle::shipped());
  std::vector<ResourceBundle> knowledge;
  for (const std::string& more : arguments_.texts("--knowledge")) knowledge.push_back(reporting(knowledgeIn(more)));
  useLocaleOf(arguments_);
  FileManager files = openVolume(arguments_).reportingTo(report_);
  if (isStoppable()) files = files.cancelledBy(cancellation());
  warnIfWritable(files);
  if (const std::optional<std::string> log = arguments_.text("--log")) openLog(*log, files.hostFolder());
  if (!arguments_.has("--no-sandbox")) {
    enterSandbox(sandboxRules(arguments_, files.hostFolder(), bundle.folder()));
  }
  auto services = std::make_unique<Services>(files, bundle, std::move(knowledge));
  if (folder && services->vendorProfiles().profiles().empty()) {
    throw CommandError(ExitCode::notFound, "--resources: " + escapedForTerminal(*folder) +
                                               " has no vendor profiles (vendors/index.json names them)");
  }
  if (isStoppable()) progress("");
  return services;
}

// A volume that was mounted to be looked at should not change by that.
void CommandContext::warnIfWritable(const FileManager& files) {
  if (!arguments_.has("--volume") || arguments_.has("--forensic")) return;
  const VolumeMount mount = files.mount();
  if (!mount.isMountPoint || mount.isReadOnly || mount.keepsAccessTimes) return;
  warn(files.hostFolder() + " is mounted writable, so reading may change access times (mount it read-only)");
}

// Nothing may write to the inspected volume.
void CommandContext::openLog(const std::string& file, const std::string& volumeFolder) {
  if (volumeFolder != "/" && liesInHostFolder(file, volumeFolder)) {
    throw CommandError(ExitCode::usage, "--log: " + escapedForTerminal(file) + " is on the inspected volume");
  }
  if (!DiagnosticsLogger::shared().writeTo(file)) warn("cannot write the log " + file);
}

const Scan* CommandContext::scan() {
  const std::optional<std::string> file = arguments_.text("--scan");
  if (!file) return nullptr;
  if (!scan_) {
    scan_ = Scan::open(*file);
    if (arguments_.has("--all-users") && scan_->users().empty()) {
      throw UsageError("--all-users: " + escapedForTerminal(*file) + " is a scan of one home folder, " +
                       escapedForTerminal(scan_->facts().home.path()) +
                       " (\"quarn scan --all-users\" keeps one of all users)");
    }
    useLocaleOf(arguments_);
    for (const UnreadableItem& item : scan_->unreadable()) {
      if (item.cause == UnreadableCause::otherDevice) {
        report_->addOtherDevice(item.path);
      } else {
        report_->add(item.path, item.error);
      }
    }
    confineToOpenFiles();
  }
  return &*scan_;
}

void CommandContext::confineToOpenFiles() const {
  if (!arguments_.has("--no-sandbox")) enterSandbox(systemRules(arguments_));
}

FileURL CommandContext::home() {
  const Scan* scan = this->scan();
  return scan != nullptr ? scan->facts().home : services().files.homeDirectory();
}

bool CommandContext::isOfAllUsers() {
  return scan() != nullptr ? !scan()->users().empty() : arguments_.has("--all-users");
}

std::string CommandContext::displayPath(const FileURL& url) {
  return pathText(url, isOfAllUsers() ? FileURL("/") : home());
}

void CommandContext::print(std::string_view text) const {
  endProgress();
  if (std::fwrite(text.data(), 1, text.size(), stdout) < text.size()) throwFileError("write", "standard output");
}

void CommandContext::printDocument(nlohmann::ordered_json members) const {
  members["unreadable"] = toJSON(unread());
  print(documentText(versioned(members), 2));
}

void CommandContext::printLines(const nlohmann::ordered_json& list) const {
  for (const nlohmann::ordered_json& value : list) print(documentText(value));
}

void CommandContext::progress(std::string_view line) {
  if (isQuiet() || !err_.rewritesLines) return;
  if (!progress_) {
    progress_ = std::make_unique<ProgressLine>(err_.width, [] {
      ListingCount count = ListingCount::now();
      return ProgressLine::Read{.items = count.entries, .folder = std::move(count.folder)};
    });
  }
  progress_->begin(line);
}

void CommandContext::endProgress() const {
  if (progress_) progress_->end();
}

void CommandContext::warn(std::string_view text) {
  endProgress();
  // Flush first: if both outputs go to one place, the data must precede the warning.
  if (std::fflush(stdout) != 0) throwFileError("write", "standard output");
  if (!isQuiet()) std::fprintf(stderr, "quarn: %s\n", escapedForTerminal(text).c_str());
}

void CommandContext::tellUnread() {
  endProgress();
  const UnreadSummary summary = unread();
  for (const UnreadSummary::Cause& cause : summary.causes) {
    if (cause.count > 0) warn(noteLine(summary, cause, isVerbose()));
  }
  if (isVerbose()) {
    for (const UnreadableItem& item : summary.items) warn(itemLine(item));
  }
}

ExitCode CommandContext::finish(ExitCode code) {
  tellUnread();
  if (code != ExitCode::ok) return code;
  if (isInterrupted() && (wantsJSON() || wantsLines())) warn("interrupted: the answer is incomplete");
  if (isInterrupted()) return ExitCode::interrupted;
  return unread().isIncomplete() ? ExitCode::incomplete : ExitCode::ok;
}

}  // namespace quarn
