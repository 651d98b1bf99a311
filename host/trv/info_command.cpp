#include "info_command.h"

#include <array>
#include <cstdio>
#include <span>

#include "platform.h"

namespace trvhost::program {

namespace {

struct InfoOptions {
    bool members = false;
    HostChoice host;
};

/// A member's flag that makes it visible; without it a host of an old version hides what it has no use for.
constexpr uint64_t kVisible = 4;

template <class Definition>
std::span<const Definition> List(const Definition* first, int64_t count) {
    return {first, first == nullptr ? 0 : static_cast<size_t>(count)};
}

/// The kinds of members of a class, under the headings of the table.
struct Members {
    explicit Members(const ClassDefinition& definition)
        : properties(List(definition.properties, definition.propertyCount)),
          methods(List(definition.methods, definition.methodCount)),
          constants(List(definition.constants, definition.constantCount)),
          sharedProperties(List(definition.sharedProperties, definition.sharedPropertyCount)),
          sharedMethods(List(definition.sharedMethods, definition.sharedMethodCount)),
          events(List(definition.events, definition.eventCount)) {}

    std::span<const PropertyDefinition> properties;
    std::span<const MethodDefinition> methods;
    std::span<const ConstantDefinition> constants;
    std::span<const PropertyDefinition> sharedProperties;
    std::span<const MethodDefinition> sharedMethods;
    std::span<const EventDefinition> events;

    size_t Hidden() const {
        size_t count = 0;
        const auto add = [&count](const auto& members) {
            for (const auto& member : members)
                count += (member.flags & kVisible) == 0 ? 1 : 0;
        };
        add(properties);
        add(methods);
        add(sharedProperties);
        add(sharedMethods);
        return count;
    }
};

std::string PropertyText(const PropertyDefinition& property) {
    return std::string(property.name) + " as " + property.type +
           (property.setter == nullptr ? " (read only)" : "");
}

std::string MethodText(const MethodDefinition& method) {
    return std::string(method.declaration) + (method.setter == nullptr ? "" : " (get and set)");
}

template <class Definition>
std::string DeclarationText(const Definition& member) {
    return member.declaration;
}

template <class List, class Text>
void PrintMembers(const char* heading, const List& members, Text text) {
    if (members.empty()) return;
    std::printf("\n  %s\n", heading);
    for (const auto& member : members)
        std::printf("    %s\n", text(member).c_str());
}

void PrintMembers(const ClassDefinition& definition) {
    const Members members(definition);
    std::printf("\n%s\n", definition.name);
    PrintMembers("Constants", members.constants, DeclarationText<ConstantDefinition>);
    PrintMembers("Shared properties", members.sharedProperties, PropertyText);
    PrintMembers("Shared methods", members.sharedMethods, MethodText);
    PrintMembers("Properties", members.properties, PropertyText);
    PrintMembers("Methods", members.methods, MethodText);
    PrintMembers("Events", members.events, DeclarationText<EventDefinition>);
}

void PrintClass(const ClassDefinition& definition) {
    const Members members(definition);
    std::printf("  %-18s %10zu %8zu %10zu %8zu %8zu %7zu %7zu\n", definition.name, members.properties.size(),
                members.methods.size(), members.constants.size(), members.sharedProperties.size(),
                members.sharedMethods.size(), members.events.size(), members.Hidden());
}

void PrintHost(const HostChoice& choice, bool withMembers) {
    const std::unique_ptr<Host> host = StartHost(choice);
    const std::string title =
        KindText(choice.kind) + " host, version " + VersionText(choice.versions.front());
    const auto answered = host->SdkVersion();
    std::printf("\n%s: the plug-in answers with tables of version %s\n\n", title.c_str(),
                answered ? std::to_string(*answered).c_str() : "none");
    std::printf("  %-18s %10s %8s %10s %8s %8s %7s %7s\n", "", "", "", "", "shared", "shared", "", "");
    std::printf("  %-18s %10s %8s %10s %8s %8s %7s %7s\n", "class", "properties", "methods", "constants",
                "props", "methods", "events", "hidden");
    for (const ClassDefinition* definition : host->Classes())
        PrintClass(*definition);
    if (!withMembers) return;
    for (const ClassDefinition* definition : host->Classes())
        PrintMembers(*definition);
}

void RunInfo(const InfoOptions& options) {
    std::printf("plug-in %s\n", ToText(PluginFile(options.host)).c_str());
    HostChoice choice = options.host;
    for (const double version : options.host.versions) {
        choice.versions = {version};
        PrintHost(choice, options.members);
    }
}

}  // namespace

Verb AddInfo(CLI::App& program) {
    const auto held = std::make_shared<InfoOptions>();
    InfoOptions& options = *held;
    CLI::App& verb = *program.add_subcommand("info", "Show what the plug-in registers with a host");
    verb.group("Verbs");
    verb.add_flag("-m,--members", options.members, "List every member as it is declared");
    AddHostOptions(verb, options.host, true);
    verb.footer(
        "The column \"hidden\" counts members that a host of that version does not show to its programs.\n"
        "\n"
        "Examples:\n"
        "  trv info --members\n"
        "  trv info --host-version 2007.02 2013.04 2024.01");
    return {&verb, [held] { RunInfo(*held); }};
}

}  // namespace trvhost::program
