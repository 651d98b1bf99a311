// The host itself, and entries about things that this host does not have: controls, windows, databases,
// delegates. These answer nil, false or nothing, as a host without such objects would.

#include "entry.h"
#include "folder_items.h"
#include "string_things.h"

namespace trvhost {

namespace {

double Version(Core& core) {
    return core.options.version;
}

bool InRuntime(Core& core) {
    return core.options.inRuntime;
}

bool InDebugMode(Core& core) {
    return core.options.inDebugMode;
}

void* ScriptResolver(Core&) {
    return reinterpret_cast<void*>(&ResolveScript);
}

void Yield(Core& core) {
    if (core.onYield) core.onYield();
}

bool IsMainThread(Core&) {
    return true;
}

bool No(Core&) {
    return false;
}

void MsgBox(Core& core, Handle text) {
    core.Log("message: " + BytesOf(core, text));
}

Handle PathFromFolderItem(Core& core, Handle item) {
    const auto* folderItem = core.FindAs<FolderItemThing>(item);
    return folderItem == nullptr ? nullptr
                                 : core.Make<StringThing>(folderItem->Utf8Path(), kEncodingUtf8).Address();
}

/// Entries that look at their object and have nothing to say about it.
template <class... Rest>
void* NothingOf(Core& core, Handle object, Rest...) {
    core.Find(object);
    return nullptr;
}

template <class... Rest>
bool NoneOf(Core& core, Handle object, Rest...) {
    core.Find(object);
    return false;
}

template <class... Rest>
void IgnoreOf(Core& core, Handle object, Rest...) {
    core.Find(object);
}

/// Entries over foreign pointers, which are left alone.
template <class... Args>
void* Nothing(Core&, Args...) {
    return nullptr;
}

template <class... Args>
void Ignore(Core&, Args...) {}

void ControlBounds(Core& core, Handle control, void* bounds) {
    core.Find(control);
    struct Rect {
        int32_t left, top, right, bottom;
    };
    if (bounds != nullptr) *static_cast<Rect*>(bounds) = {};
}

}  // namespace

std::span<const EntryRow> OtherEntries() {
    static const EntryRow rows[] = {
        Row<"REALGetRBVersion", Version>(),
        Row<"REALinRuntime", InRuntime>(),
        Row<"REALInDebugMode", InDebugMode>(),
        Row<"GetRBScriptResolver", ScriptResolver>(),
        Row<"REALYieldToRB", Yield>(),
        Row<"IsXojoMainThread", IsMainThread>(),
        Row<"IsXojoThread", No>(),
        Row<"IsDarkMode", No>(),
        Row<"RuntimeMsgBox", MsgBox>(),
        Row<"REALpathFromFolderItem", PathFromFolderItem>(),
        Row<"PluginAddEventHandler", IgnoreOf<const char*, void*>>(),
        Row<"PluginRemoveEventHandler", IgnoreOf<const char*, void*>>(),
        Row<"PluginIsEventHandled", NoneOf<const char*>>(),
        Row<"PluginGetDelegateInvoker", NothingOf<>>(),
        Row<"PluginGetPluginData", NothingOf<const char*>>(),
        Row<"PluginRegisterBackgroundTask", Ignore<void*, uint32_t, void*>>(),
        Row<"PluginUnregisterBackgroundTask", Ignore<void*>>(),
        Row<"GetControlBounds", ControlBounds>(),
        Row<"REALGetControlGraphics", NothingOf<>>(),
        Row<"REALGetControlGraphicsWithDC", NothingOf<void*>>(),
        Row<"getControlWindow", NothingOf<>>(),
        Row<"GetTabPanelVisible", NoneOf<>>(),
        Row<"REALConstructDBDatabase", Nothing<void*, void*>>(),
        Row<"REALGetCursorFromREALdbCursor", NothingOf<>>(),
        Row<"REALGetDBDatabaseName", NothingOf<>>(),
        Row<"REALGetDBFromREALdbDatabase", NothingOf<>>(),
        Row<"REALGetDBPassword", NothingOf<>>(),
        Row<"REALGetDBUserName", NothingOf<>>(),
        Row<"NewRowSetFromDBCursor", Nothing<void*, void*>>(),
        Row<"REALdbCursorFromDBCursor", Nothing<void*, void*>>(),
        Row<"REALdbDatabaseFromDBDatabase", Nothing<void*, void*>>(),
    };
    return rows;
}

}  // namespace trvhost
