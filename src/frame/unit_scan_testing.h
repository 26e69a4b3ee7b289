// Test-only access to the levels of the unit scans (unit_scan.h): which ones the processor
// runs, and a scope that forces one of them on every thread.
#ifndef QEL_SRC_FRAME_UNIT_SCAN_TESTING_H_
#define QEL_SRC_FRAME_UNIT_SCAN_TESTING_H_

#include <vector>

namespace qel::internal {

enum class ScanLevel { kScalar, kSse2, kAvx2, kAvx512 };

const char* ForTestingScanLevelName(ScanLevel level);

// The levels this build has and this processor runs, plainest first.
std::vector<ScanLevel> ForTestingScanLevels();

// Forces `level` (one of ForTestingScanLevels) for the life of the object, then restores the
// level picked for the processor. REQUIRES: no scan runs on another thread meanwhile.
class ForTestingScopedScanLevel {
 public:
  explicit ForTestingScopedScanLevel(ScanLevel level);
  ~ForTestingScopedScanLevel();
  ForTestingScopedScanLevel(const ForTestingScopedScanLevel&) = delete;
  ForTestingScopedScanLevel& operator=(const ForTestingScopedScanLevel&) = delete;
};

}  // namespace qel::internal

#endif  // QEL_SRC_FRAME_UNIT_SCAN_TESTING_H_
