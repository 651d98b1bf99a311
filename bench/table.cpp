#include "table.h"

#include <algorithm>
#include <cstdio>

namespace trvbench {
namespace {

constexpr char kSeparator = '|';

/// The median of a contender's times; 0 if it has none.
double MedianOf(const std::map<std::string, std::vector<double>>& row, const std::string& contender) {
    const auto found = row.find(contender);
    if (found == row.end()) return 0;
    std::vector<double> values = found->second;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::string CellText(double milliseconds, double ratio) {
    char text[64];
    std::snprintf(text, sizeof(text), milliseconds < 1 ? "%.4f (%.2f)" : "%.2f (%.2f)", milliseconds, ratio);
    return text;
}

}  // namespace

std::string CellName(const std::string& operation, const std::string& contender) {
    return operation + kSeparator + contender;
}

bool Table::ReportContext(const Context&) {
    return true;
}

void Table::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        const std::string& name = run.run_name.function_name;
        if (run.error_occurred) {
            std::fprintf(stderr, "%s: %s\n", name.c_str(), run.error_message.c_str());
            ++faults_;
        } else if (run.run_type == Run::RT_Iteration) {
            const size_t cut = name.find(kSeparator);
            times_[name.substr(0, cut)][name.substr(cut + 1)].push_back(run.GetAdjustedRealTime());
        }
    }
}

void Table::Finalize() {
    const std::string libraries[] = {kOpenCv, kVips, kZimg, kPillow};
    std::printf("%-44s %11s %18s", "ms", kPlugin.c_str(), kMemcpy.c_str());
    for (const std::string& library : libraries)
        std::printf(" %18s", library.c_str());
    std::printf("\n");
    for (const std::string& operation : operations_) {
        if (!times_.contains(operation)) continue;
        const auto& row = times_[operation];
        const double ownTime = MedianOf(row, kPlugin);
        std::printf("%-44s %11.*f", operation.c_str(), ownTime < 1 ? 4 : 2, ownTime);
        const double copyTime = MedianOf(row, kMemcpy);
        std::printf(" %18s", copyTime == 0 ? "" : CellText(copyTime, ownTime / copyTime).c_str());
        for (const std::string& library : libraries) {
            const double time = MedianOf(row, library);
            std::printf(" %18s", time == 0 || ownTime == 0 ? "" : CellText(time, time / ownTime).c_str());
        }
        std::printf("\n");
    }
}

}  // namespace trvbench
