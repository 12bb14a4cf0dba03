#pragma once

#include "QuarnBuilders/VolumeWriter.h"

/// The kinds of hostile items; hostileItems() says what each holds.
namespace quarn::sample {

void writeLinks(const VolumeWriter& volume);
void writeLoops(const VolumeWriter& volume);
void writeSpecialFiles(const VolumeWriter& volume);
void writeSparseGiants(const VolumeWriter& volume);
void writeHardLinkFarms(const VolumeWriter& volume);
void writeOddNames(const VolumeWriter& volume);
void writeDeepFolders(const VolumeWriter& volume);
void writeWideFolder(const VolumeWriter& volume);
void writeClosedItems(const VolumeWriter& volume);

void writePropertyListBombs(const VolumeWriter& volume);
void writeLongTexts(const VolumeWriter& volume);
void writeBillBombs(const VolumeWriter& volume);
void writeBillOfLinks(const VolumeWriter& volume);
void writeProgramBombs(const VolumeWriter& volume);
void writeGameListBombs(const VolumeWriter& volume);

}  // namespace quarn::sample
