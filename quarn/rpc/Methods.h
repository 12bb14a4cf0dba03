#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "quarn/rpc/Method.h"
#include "quarn/services/Services.h"
#include "quarn/wire/HandshakeRecords.h"
#include "quarn/wire/ProgressRecords.h"

namespace quarn {

// A file of methods defines its handlers and, below them, one row per handler. A handler is a function (const
// Context&, params in order) -> result. It throws FileError if the operation does, and DecodingError for params that
// the types cannot refuse.
using Context = MethodContext;
using FolderOrFolders = std::variant<FileURL, std::vector<FileURL>>;

std::span<const MethodRow> inspectionMethods();
std::span<const MethodRow> ownershipMethods();
std::span<const MethodRow> discoveryMethods();
std::span<const MethodRow> vendorMethods();
std::span<const MethodRow> planningMethods();
std::span<const MethodRow> storageMethods();
std::span<const MethodRow> folderMethods();
std::span<const MethodRow> scanMethods();
std::span<const MethodRow> systemMethods();
std::span<const MethodRow> processMethods();

/// All methods, in the order of docs/rpc.md. The span is valid for the lifetime of the process.
[[nodiscard]] std::span<const MethodRow> methodTable();

/// True if the method takes little time on any volume: it walks no folders.
[[nodiscard]] bool isQuickMethod(std::string_view name);
/// One sentence on what a method returns, without a period; empty if there is none.
[[nodiscard]] std::string_view summaryOfMethod(std::string_view name);

}  // namespace quarn
