#include "frame/debug_objects.h"

#include <algorithm>

#include "frame/debug_log.h"
#include "frame/rb_text.h"
#include "platform/debug_output.h"

namespace trv {

namespace {

const void* Address(const void* thing) {
    return thing;
}

void CheckData(HostObject instance, const ClassDefinition& definition, const char* nilLabel,
               const char* sizeLabel, const char* placeLabel) {
    if (instance == nullptr) PrintLine(nilLabel, instance);
    if (definition.dataSize == 0) PrintLine(sizeLabel, definition.dataSize);
    if (definition.forSystemUse != kClassDataOffset) PrintLine(placeLabel, definition.forSystemUse);
}

}  // namespace

void PrintString(const char* label, HostString string) {
    rbText text(string);
    WriteDebugLine("%s%s %p: %s", debugPrefix, label, Address(string), text.Text<TextForm::Utf8>());
}

void PrintString(HostString string) {
    rbText text(string);
    WriteDebugLine("%s%p: %s", debugPrefix, Address(string), text.Text<TextForm::Utf8>());
}

void PrintText(const char* label, HostText text) {
    TextData data{};
    if (!host::PluginGetTextData(text, "utf-8", &data)) {
        WriteDebugLine("%s%s %p and no text", debugPrefix, label, Address(text));
        return;
    }
    // The host promises a size but no terminator.
    const auto length = static_cast<int>(std::clamp<int64_t>(data.size, 0, kDebugLineBytes));
    WriteDebugLine("%s%s %p: %.*s", debugPrefix, label, Address(text), data.data == nullptr ? 0 : length,
                   data.data == nullptr ? "" : static_cast<const char*>(data.data));
    host::PluginDisposeTextData(&data);
}

void CheckClassData(HostObject instance, const ClassDefinition& definition) {
    CheckData(instance, definition, "REALGetClassData with nil instance", "REALGetClassData with dataSize",
              "REALGetClassData with forSystemUse");
}

void CheckControlData(HostObject instance, const ClassDefinition& definition) {
    CheckData(instance, definition, "REALGetControlData with nil instance",
              "REALGetControlData with dataSize", "REALGetControlData with forSystemUse");
}

void DebugOutputString(HostString string) {
    rbText text(string);
    DebugOutputUnicode(text.Text<TextForm::Utf16>(), text.Text<TextForm::Utf8>());
}

}  // namespace trv
