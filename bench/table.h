// Collects what Google Benchmark measures and prints it as a table: an operation a line.
#pragma once

#include <benchmark/benchmark.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace trvbench {

inline const std::string kPlugin = "PictureTRV";
inline const std::string kMemcpy = "memcpy";

/// The name under which a contender's run of an operation is registered; Table takes it apart.
std::string CellName(const std::string& operation, const std::string& contender);

/// An operation and those who do it, in the order of the columns.
struct TableLine {
    std::string operation;
    std::vector<std::string> contenders;
};

/// Google Benchmark's reporter. Times are milliseconds of the wall clock, medians over the repetitions.
class Table : public benchmark::BenchmarkReporter {
  public:
    /// Prints those of the lines, in this order, of which anything was measured.
    explicit Table(std::vector<TableLine> lines) : lines_(std::move(lines)) {}

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

    /// Measurements that failed; each is said on standard error.
    [[nodiscard]] int Faults() const { return faults_; }

  private:
    std::vector<TableLine> lines_;
    std::map<std::string, std::vector<double>> times_;
    int faults_ = 0;
};

}  // namespace trvbench
