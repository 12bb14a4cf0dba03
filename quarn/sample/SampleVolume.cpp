#include "quarn/sample/SampleVolume.h"

#include "quarn/sample/EmptyFolder.h"
#include "quarn/sample/SampleWriter.h"

namespace quarn {

SampleSummary writeSampleVolume(const std::string& hostFolder) {
  return writeIntoEmptyFolder(hostFolder,
                              [](const sample::VolumeWriter& writer) { return sample::SampleWriter(writer).write(); });
}

}  // namespace quarn
