#include "complaint.h"

#include <algorithm>
#include <cstdio>

#include "platform.h"

namespace trvhost::program {

int Complain(int status, std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::replace_if(
        text.begin(), text.end(), [](char c) { return (c >= 0 && c < ' ') || c == 0x7F; }, '?');
    std::fprintf(ErrorStream(), "trv: %s\n", text.c_str());
    return status;
}

}  // namespace trvhost::program
