#include "host_choice.h"

#include <cmath>
#include <cstdio>
#include <map>
#include <stdexcept>

#include "platform.h"

namespace trvhost::program {

namespace {

const std::map<std::string, HostKind> kKinds = {
    {"desktop", HostKind::Desktop}, {"console", HostKind::Console}, {"web", HostKind::Web}};

CLI::Validator KnownKind() {
    return CLI::Validator(
        [](std::string& text) {
            return kKinds.contains(text) ? std::string() : "there is no host \"" + text + "\"";
        },
        "");
}

}  // namespace

void AddHostOptions(CLI::App& verb, HostChoice& choice, bool severalVersions) {
    const char* group = "Plug-in and host";
    verb.add_option("--plugin", choice.plugin,
                    "The plug-in to load. Otherwise it is the one that the environment variable TRV_PLUGIN "
                    "names, and without that the one beside this program")
        ->type_name("FILE")
        ->group(group);
    verb.add_option_function<std::string>(
            "--host", [&choice](const std::string& text) { choice.kind = kKinds.at(text); },
            "The kind of host to play: desktop, console or web. On Linux a desktop host has pictures of "
            "packed "
            "words, the others have gd images [desktop]")
        ->type_name("KIND")
        ->check(KnownKind())
        ->group(group);
    CLI::Option* version =
        verb.add_option("--host-version", choice.versions,
                        std::string(severalVersions ? "Versions" : "Version") +
                            " of the host to play, such as 2016.03 [" + VersionText(Options().version) + "]")
            ->check(CLI::Range(1.0, 9999.0).description(""))
            ->group(group);
    if (severalVersions) {
        version->type_name("N")->expected(1, -1);
    } else {
        version->type_name("N")->expected(1);
    }
}

std::filesystem::path PluginFile(const HostChoice& choice) {
    if (!choice.plugin.empty()) return ToPath(choice.plugin);
    if (const auto named = Environment("TRV_PLUGIN")) return ToPath(*named);
    return OwnFile().parent_path() / PluginFileName();
}

std::string KindText(HostKind kind) {
    for (const auto& [text, value] : kKinds) {
        if (value == kind) return text;
    }
    return "unknown";
}

std::string VersionText(double version) {
    char text[32];
    const bool threeDigits = std::abs(version * 100 - std::round(version * 100)) > 0.01;
    std::snprintf(text, sizeof text, "%.*f", threeDigits ? 3 : 2, version);
    return text;
}

std::unique_ptr<Host> StartHost(const HostChoice& choice) {
    Options options;
    options.kind = choice.kind;
    options.version = choice.versions.front();
    return std::make_unique<Host>(PluginFile(choice), options);
}

void CheckException(const Host& host) {
    if (const auto exception = host.TakeException()) {
        throw std::runtime_error("the plug-in raised " + exception->className + ": " + exception->message);
    }
}

}  // namespace trvhost::program
