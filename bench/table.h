// Collects what Google Benchmark measures and prints it as a table: an operation a line, a contender a
// column.
#pragma once

#include <benchmark/benchmark.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace trvbench {

inline const std::string kPlugin = "PictureTRV";
inline const std::string kMemcpy = "memcpy";
inline const std::string kOpenCv = "OpenCV";
inline const std::string kVips = "libvips";
inline const std::string kZimg = "zimg";
inline const std::string kPillow = "Pillow";

/// The name under which a contender's run of an operation is registered; Table takes it apart.
std::string CellName(const std::string& operation, const std::string& contender);

/// Google Benchmark's reporter. Times are milliseconds of the wall clock, medians over the repetitions.
class Table : public benchmark::BenchmarkReporter {
  public:
    /// Prints those of the operations, in this order, of which anything was measured.
    explicit Table(std::vector<std::string> operations) : operations_(std::move(operations)) {}

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

    /// Measurements that failed; each is said on standard error.
    [[nodiscard]] int Faults() const { return faults_; }

  private:
    std::vector<std::string> operations_;
    std::map<std::string, std::map<std::string, std::vector<double>>> times_;
    int faults_ = 0;
};

}  // namespace trvbench
