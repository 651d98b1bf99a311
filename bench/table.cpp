#include "table.h"

#include <algorithm>
#include <cstdio>

namespace trvbench {
namespace {

/// 0 for no values.
double MedianOf(std::vector<double> values) {
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::string TimeText(double milliseconds) {
    char text[32];
    std::snprintf(text, sizeof(text),
                  milliseconds < 1     ? "%.3f"
                  : milliseconds < 100 ? "%.2f"
                                       : "%.0f",
                  milliseconds);
    return text;
}

}  // namespace

std::string CellName(const std::string& operation, const std::string& contender) {
    return operation + "|" + contender;
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
            times_[name].push_back(run.GetAdjustedRealTime());
        }
    }
}

void Table::Finalize() {
    std::printf("%-44s %10s   others (x)\n", "ms", kPlugin.c_str());
    for (const TableLine& line : lines_) {
        const double own = MedianOf(times_[CellName(line.operation, kPlugin)]);
        if (own == 0) continue;
        std::printf("%-44s %10s", line.operation.c_str(), TimeText(own).c_str());
        for (const std::string& contender : line.contenders) {
            const double time = MedianOf(times_[CellName(line.operation, contender)]);
            if (time == 0 || contender == kPlugin) continue;
            const double ratio = contender == kMemcpy ? own / time : time / own;
            std::printf("   %s %s (%.2f)", contender.c_str(), TimeText(time).c_str(), ratio);
        }
        std::printf("\n");
    }
}

}  // namespace trvbench
