#include "table.h"

#include <algorithm>
#include <cstdio>

namespace trvbench {
namespace {

constexpr char kSeparator = '|';

double MedianOf(std::vector<double> values) {
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
            const std::string operation = name.substr(0, cut);
            if (!times_.contains(operation)) operations_.push_back(operation);
            times_[operation][name.substr(cut + 1)].push_back(run.GetAdjustedRealTime());
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
        auto& row = times_[operation];
        const auto own = row.find(kPlugin);
        const double ownTime = own == row.end() ? 0 : MedianOf(own->second);
        std::printf("%-44s %11.*f", operation.c_str(), ownTime < 1 ? 4 : 2, ownTime);
        const auto copy = row.find(kMemcpy);
        const double copyTime = copy == row.end() ? 0 : MedianOf(copy->second);
        std::printf(" %18s", copyTime == 0 ? "" : CellText(copyTime, ownTime / copyTime).c_str());
        for (const std::string& library : libraries) {
            const auto cell = row.find(library);
            const double time = cell == row.end() ? 0 : MedianOf(cell->second);
            std::printf(" %18s", time == 0 || ownTime == 0 ? "" : CellText(time, time / ownTime).c_str());
        }
        std::printf("\n");
    }
}

}  // namespace trvbench
