#pragma once

#include <string>
#include <vector>

#include "QuarnModels/Storage.h"

namespace quarn {

struct VendorsOfCategory {
  StorageCategoryID category;
  std::vector<std::string> ids;
};

/// The vendors with a storage category, in the order of the profiles. Written independently of the code under test.
inline const std::vector<VendorsOfCategory>& vendorCategoryTable() {
  using Category = StorageCategoryID;
  static const std::vector<VendorsOfCategory> table{
      {Category::communication,
       {"apple-mail", "microsoft-outlook", "microsoft-teams", "zoom", "cisco-jabber", "slack", "webex", "discord",
        "whatsapp", "telegram-desktop", "telegram", "signal", "thunderbird"}},
      {Category::games,
       {"steam", "epic-games-launcher", "battle-net", "gog-galaxy", "heroic", "origin", "riot-client",
        "minecraft-launcher", "itch", "crossover"}},
      {Category::development,
       {"xcode",
        "core-simulator",
        "swiftpm",
        "cocoapods",
        "carthage",
        "homebrew",
        "kubernetes-local",
        "android-studio",
        "jetbrains",
        "visual-studio-code",
        "unity",
        "docker-desktop",
        "utm",
        "rancher-desktop",
        "orbstack",
        "multipass",
        "vagrant",
        "unreal-engine",
        "java-toolchain",
        "parallels-desktop",
        "vmware-fusion",
        "virtualbox",
        "nodejs-toolchain",
        "python-toolchain"}},
      {Category::photos, {"apple-photos", "final-cut-pro", "garageband", "logic-pro"}},
      {Category::documents,
       {"icloud-drive", "microsoft-onedrive", "dropbox", "google-drive", "box-drive", "nextcloud-desktop",
        "synology-drive", "megasync", "pcloud-drive", "tresorit", "resilio-sync", "seafile-client"}},
      {Category::systemData, {"safari",       "arc-browser",  "opera",         "vivaldi",
                              "time-machine", "mobile-sync",  "backblaze",     "carbon-copy-cloner",
                              "archicad",     "vectorworks",  "automatic1111", "comfyui",
                              "invokeai",     "diffusionbee", "runpod",        "malwarebytes",
                              "bitdefender",  "norton-360",   "mcafee",        "avast",
                              "sophos",       "eset",         "trend-micro",   "intego",
                              "kaspersky",    "sentinelone",  "jamf",          "cisco-secure-client"}},
  };
  return table;
}

}  // namespace quarn
