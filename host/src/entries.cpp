// The table of all entries, and the two resolvers over it.

#include <map>

#include "entry.h"

namespace trvhost {

namespace {

constexpr std::string_view kScriptPrefix = "GetRBScriptResolver/";

bool Applies(const MemberRow& row, double version) {
    return version >= row.since && version < row.until;
}

bool IsMissing(const Core& core, std::string_view name) {
    return core.options.missingEntries.count(name) != 0;
}

bool IsScriptOnly(std::string_view name) {
    return name == "REALCountClassProperties" || name == "REALGetClassProperty";
}

constexpr std::span<const MemberRow> (*kMemberTables[])() = {MemoryBlockMembers, PictureMembers,
                                                             GraphicsMembers, GlobalMembers};

}  // namespace

const std::vector<EntryRow>& AllEntries() {
    static const std::vector<EntryRow> all = [] {
        std::vector<EntryRow> rows;
        for (const auto part :
             {ArrayEntries(), ClassEntries(), GraphicsEntries(), MemoryBlockEntries(), ObjectEntries(),
              OtherEntries(), PictureEntries(), PropertyEntries(), StringEntries(), VariantEntries()}) {
            rows.insert(rows.end(), part.begin(), part.end());
        }
        for (const MemberRow& row : VersionedEntries())
            rows.push_back(row.entry);
        for (const auto part : kMemberTables) {
            for (const MemberRow& row : part())
                rows.push_back(row.entry);
        }
        // Number 0 is for what has no row of its own, such as the accessors of arrays.
        for (size_t i = 0; i < rows.size(); ++i)
            *rows[i].index = i + 1;
        return rows;
    }();
    return all;
}

const EntryRow* FindEntry(std::string_view name) {
    static const auto table = [] {
        std::map<std::string_view, const EntryRow*> byName;
        for (const EntryRow& row : AllEntries()) {
            if (std::string_view(row.name).find('.') == std::string_view::npos)
                byName.emplace(row.name, &row);
        }
        return byName;
    }();
    const auto found = table.find(name);
    return found == table.end() ? nullptr : found->second;
}

void* ResolveForPlugin(const char* name) noexcept {
    Core* core = Core::Current();
    if (core == nullptr || name == nullptr) return nullptr;
    if (!core->IsHostThread()) {
        core->Misuse(std::string("the resolver is asked for ") + name);
        return nullptr;
    }
    ++core->lookups[name];
    if (IsMissing(*core, name) || IsScriptOnly(name)) return nullptr;
    for (const MemberRow& row : VersionedEntries()) {
        if (std::string_view(row.entry.name) == name && Applies(row, core->options.version))
            return row.entry.address;
    }
    const EntryRow* row = FindEntry(name);
    return row == nullptr ? nullptr : row->address;
}

void* ResolveScript(const char* name) noexcept {
    const Core* core = Core::Current();
    if (core == nullptr || name == nullptr || IsMissing(*core, std::string(kScriptPrefix) + name))
        return nullptr;
    return IsScriptOnly(name) || name == std::string_view("RuntimeClassOf") ? FindEntry(name)->address
                                                                            : nullptr;
}

std::string_view DeclarationOf(const MemberRow& row) {
    const std::string_view name = row.entry.name;
    return name.substr(name.find('.') + 1);
}

std::vector<const MemberRow*> MembersOf(const Core& core, std::string_view className) {
    std::vector<const MemberRow*> members;
    const auto& missing = core.options.missingMembers;
    for (const auto rows : kMemberTables) {
        for (const MemberRow& row : rows()) {
            const std::string_view name = row.entry.name;
            const bool sameClass = name.substr(0, name.find('.')) == className;
            if (!sameClass || !Applies(row, core.options.version)) continue;
            if (missing.count(name) == 0 && missing.count(DeclarationOf(row)) == 0) members.push_back(&row);
        }
    }
    return members;
}

void* FindMember(const Core& core, std::string_view className, std::string_view declaration) {
    for (const MemberRow* row : MembersOf(core, className)) {
        if (DeclarationOf(*row) == declaration) return row->entry.address;
    }
    return nullptr;
}

}  // namespace trvhost
