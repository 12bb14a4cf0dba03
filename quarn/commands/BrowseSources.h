#pragma once

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "QuarnCore/scans/Scan.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "quarn/browse/BrowseSession.h"
#include "quarn/browse/BrowseTree.h"
#include "quarn/services/Services.h"

namespace quarn {

/// Fills the tree of the browser and finds the owners while the browser runs.
///
/// Threads: one fills the tree (the walk starts more), one finds the owners; with a scan one thread does both, because
/// a scan belongs to one thread. They write to the tree and to the feed, which have locks of their own, and share
/// nothing else. An error ends the browser by the feed. The destructor cancels both and joins them; the tree, the feed,
/// the services and the scan must live until then. Memory: that of the tree, the map of owners and the tables of a
/// scan.
class BrowseSources {
 public:
  /// What to browse: one folder, or the roots of a category.
  struct Place {
    std::string top{};               ///< path or title of the tree
    std::vector<FileURL> folders{};  ///< the folder, or the roots
    bool isCategory = false;
  };

  BrowseSources(BrowseTree& tree, BrowseFeed& feed) : tree_(tree), feed_(feed) {}
  ~BrowseSources();
  BrowseSources(const BrowseSources&) = delete;
  BrowseSources& operator=(const BrowseSources&) = delete;

  void startVolume(const Services& services, const Place& place);
  void startScan(const Scan& scan, const Place& place);

 private:
  void start(std::function<void()> work);

  BrowseTree& tree_;
  BrowseFeed& feed_;
  Cancellation cancellation_;
  std::vector<std::thread> threads_;
};

}  // namespace quarn
