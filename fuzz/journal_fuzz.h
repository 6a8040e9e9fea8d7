#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzzing {

// Takes arbitrary bytes as a scan folder's journal, DIR/scan.jsonl, through the reader that
// hgvtool scan --resume and hgvtool report use, and each line through the JSON reader. Every
// record taken names only files of the scan's own shape for its clip and holds only finite numbers
// inside its clip, and writing it and reading it back gives it again: no crash, no hang.
void readJournalBytes(const std::uint8_t* data, std::size_t size);

}  // namespace fuzzing
