#include "configurations.h"

namespace trvfuzz {

std::vector<Configuration> Configurations() {
    using trvhost::HostKind;
    std::vector<Configuration> all;
    const auto add = [&](const char* name) -> trvhost::Options& {
        all.push_back({name, {}});
        return all.back().options;
    };
    add("desktop");
    add("console").kind = HostKind::Console;
    {
        trvhost::Options& options = add("desktop-2015");
        options.version = 2015.01;
        options.stringDataForm = trvhost::StringDataForm::NotTerminated;
    }
    {
        trvhost::Options& options = add("console-2009");
        options.version = 2009.05;
        options.kind = HostKind::Console;
    }
    {
        trvhost::Options& options = add("hostile-arrays");
        options.arrayLayout = trvhost::ArrayLayout::Hostile;
        options.stringDataForm = trvhost::StringDataForm::ByteOrderMark;
    }
    {
        trvhost::Options& options = add("ide");
        options.kind = HostKind::Unknown;
        options.inRuntime = false;
    }
    return all;
}

}  // namespace trvfuzz
