#include "quarn/rpc/Methods.h"

namespace quarn {
namespace {

constexpr std::array kGroups{&inspectionMethods, &ownershipMethods, &discoveryMethods, &vendorMethods, &planningMethods,
                             &storageMethods,    &folderMethods,    &scanMethods,      &systemMethods, &processMethods};

std::vector<MethodRow> allMethods() {
  std::vector<MethodRow> all;
  for (const auto group : kGroups) {
    const std::span<const MethodRow> rows = group();
    all.insert(all.end(), rows.begin(), rows.end());
  }
  return all;
}

}  // namespace

std::span<const MethodRow> methodTable() {
  static const std::vector<MethodRow> methods = allMethods();
  return methods;
}

}  // namespace quarn
