#pragma once

#include <set>
#include <string>
#include <string_view>

#include "QuarnBuilders/VolumeWriter.h"
#include "quarn/sample/SampleApps.h"
#include "quarn/sample/SampleItems.h"
#include "quarn/sample/SampleRecords.h"
#include "quarn/sample/SampleSummary.h"

namespace quarn::sample {

/// Writes the items of the tables. Borrows the writer; single use.
class SampleWriter {
 public:
  explicit SampleWriter(const VolumeWriter& writer) : writer_(writer) {}

  /// Writes everything and sets the times. Throws FileError.
  SampleSummary write();

 private:
  void write(const Item& item);
  void write(const App& app);
  void write(const Job& job);
  void write(const Receipt& receipt);
  void write(const KernelExtension& extension);
  void writeBundle(const App& app, const std::string& info, const std::string& programFolder);
  void writeWrapped(const App& app);
  void markAsBundle(const std::string& path);

  // All writes go through these functions, which count and date the items.
  void addFile(const std::string& path, std::string_view content, mode_t bits = 0644);
  void note(const std::string& path);
  void dateEverything();

  const VolumeWriter& writer_;
  SampleSummary summary_;
  std::set<std::string> items_;  ///< all written paths and their parents
};

}  // namespace quarn::sample
