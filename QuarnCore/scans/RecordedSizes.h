#pragma once

#include <memory>

#include "QuarnCore/ownership/Leftovers.h"
#include "QuarnCore/storage/RecordedFolders.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// A calculator that answers from the folders that a scan has recorded, so that nothing is walked twice. The sizes are
/// those that `FileSizeCalculator::live` returns. What the record does not have, it asks `live`.
FileSizeCalculator recordedSizes(std::shared_ptr<const RecordedFolders> folders, FileManager files);

/// The newest change of an item, from the same record: the answer of `newestChange`.
NewestChange recordedChanges(std::shared_ptr<const RecordedFolders> folders, FileManager files);

}  // namespace quarn
