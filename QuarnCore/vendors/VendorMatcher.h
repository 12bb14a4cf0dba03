#pragma once

#include <string>
#include <vector>

#include "QuarnCore/vendors/VendorProfile.h"

namespace quarn {

/// The texts of an app that vendor profiles are matched against, lower-cased and composed once.
struct AppTexts {
  explicit AppTexts(const AppEntity& app);

  std::string bundleID;  ///< "" for an app without one
  std::string name;
  std::string bundleName;  ///< the bundle's file name, "example.app"
};

/// One profile's rules of recognition, lower-cased and composed once, so that matching many apps against many profiles
/// only compares.
class VendorMatcher {
 public:
  explicit VendorMatcher(const VendorProfile& profile);

  [[nodiscard]] bool matches(const AppTexts& app) const;

 private:
  [[nodiscard]] bool matchesByName(const AppTexts& app) const;

  std::vector<std::string> bundleIDs_;
  std::vector<std::string> prefixes_;
  std::vector<std::string> nameParts_;
  std::vector<std::string> bundleNames_;  ///< what a name hit needs as its confirmation; none when empty
};

}  // namespace quarn
