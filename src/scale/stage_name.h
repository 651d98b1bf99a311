#pragma once

// The labels of the stages in diagnostics: the family's name, "_Scale", the stage's number, and "mt" for
// jobs.

#include <cstdio>

namespace trv {

struct StageLabel {
    char text[40];
};

[[nodiscard]] inline StageLabel StageName(const char* family, int stage, const char* suffix = "") {
    StageLabel label;
    std::snprintf(label.text, sizeof label.text, "%s_Scale%d%s", family, stage, suffix);
    return label;
}

}  // namespace trv
