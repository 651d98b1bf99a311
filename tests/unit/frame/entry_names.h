#pragma once

// The names of the 198 entries of the host that the plug-in has a wrapper for.

namespace trv::test {

// clang-format off
inline constexpr const char* kEntryNames[] = {
    "REALGetRBVersion", "REALBuildPictureFromDIB", "REALBuildStringWithEncoding",
    "REALGetControlGraphicsWithDC", "REALGetGraphicsOrigin", "CreateInstance", "REALBuildString",
    "PluginAddEventHandler", "RuntimeAddString", "REALBuildPictureFromBuffer",
    "REALBuildPictureFromPictureDescription", "PluginBuildText", "PluginCallFunctionWithExceptionHandler",
    "RuntimeStringCompare", "PluginCompareText", "PluginConcatenateText", "REALConstructDBDatabase",
    "REALConvertString", "REALCountClassProperties", "RuntimeArrayCreateSingleDimBoundedArray",
    "PluginDisposeStringData", "PluginDisposeTextData", "drawPicturePrimitive", "RuntimeDirectReadIntArray",
    "RuntimeDirectReadObjectArray", "RuntimeDirectReadStringArray", "RuntimeUBound",
    "PluginBooleanArrayGetProc", "PluginColorArrayGetProc", "PluginCurrencyArrayGetProc",
    "PluginDoubleArrayGetProc", "PluginInt16ArrayGetProc", "PluginInt32ArrayGetProc",
    "PluginInt64ArrayGetProc", "PluginInt8ArrayGetProc", "PluginIntegerArrayGetProc",
    "PluginObjectArrayGetProc", "PluginSingleArrayGetProc", "PluginStringArrayGetProc",
    "PluginTextArrayGetProc", "PluginUInt16ArrayGetProc", "PluginUInt32ArrayGetProc",
    "PluginUInt64ArrayGetProc", "PluginUInt8ArrayGetProc", "PluginUIntegerArrayGetProc",
    "REALGetClassProperty", "pluginObjectType", "GetControlBounds", "REALGetControlGraphics",
    "getControlWindow", "REALGetCursorFromREALdbCursor", "REALGetDBDatabaseName",
    "REALGetDBFromREALdbDatabase", "REALGetDBPassword", "REALGetDBUserName", "PluginGetDelegateInvoker",
    "GetEventInstance", "REALGetFontEncoding", "pluginPictureGraphicsGetter", "REALGetPictureMask",
    "PluginPictureGetType", "PluginGetPluginData", "REALGetPropValueBool", "REALGetPropValueColor",
    "REALGetPropValueCurrency", "REALGetPropValueDouble", "REALGetPropValueInt16", "REALGetPropValueInt",
    "REALGetPropValueInt64", "REALGetPropValueInteger", "REALGetPropValueObject", "REALGetPropValuePtr",
    "REALGetPropValueSingle", "REALGetPropValueString", "PluginGetPropValueText", "REALGetPropValueUInt16",
    "REALGetPropValueUInt32", "REALGetPropValueUInt64", "REALGetPropValueUInteger", "StringGetCString",
    "PluginGetStringData", "REALGetStringEncoding", "GetTabPanelVisible", "PluginGetTextData",
    "REALGraphicsDC", "RuntimeGraphicsDrawString", "REALGraphicsReleaseDC", "RuntimeGraphicsStringWidth",
    "REALInDebugMode", "PluginBooleanArrayInsertProc", "PluginColorArrayInsertProc",
    "PluginCurrencyArrayInsertProc", "PluginDoubleArrayInsertProc", "PluginInt16ArrayInsertProc",
    "PluginInt32ArrayInsertProc", "PluginInt64ArrayInsertProc", "PluginInt8ArrayInsertProc",
    "PluginIntegerArrayInsertProc", "PluginObjectArrayInsertProc", "PluginSingleArrayInsertProc",
    "PluginStringArrayInsertProc", "PluginTextArrayInsertProc", "PluginUInt16ArrayInsertProc",
    "PluginUInt32ArrayInsertProc", "PluginUInt64ArrayInsertProc", "PluginUInt8ArrayInsertProc",
    "PluginUIntegerArrayInsertProc", "IsDarkMode", "PluginIsEventHandled", "IsXojoMainThread",
    "IsXojoThread", "REALLoadGlobalMethod", "REALLoadObjectMethod", "PluginLoadSharedMethod",
    "REALLockObject", "REALLockPictureDescription", "lockPictureDescription", "REALLockString",
    "PluginLockText", "memoryBlockGetPtr", "memoryBlockGetSize", "RuntimeMsgBox", "newMemoryBlock",
    "newPicture", "NewRowSetFromDBCursor", "BooleanToVariant", "DoubleToVariant", "Int32ToVariant",
    "Int64ToVariant", "IntegerToVariant", "PtrToVariant", "SingleToVariant", "StringToVariant",
    "PluginNewVariantText", "UInt32ToVariant", "UInt64ToVariant", "RuntimeObjectIsa",
    "REALPictureClearCache", "PtrToMemoryBlock", "RuntimeRaiseException", "PluginRegisterBackgroundTask",
    "PluginRegisterClass", "PluginRegisterClassExtension", "PluginRegisterControl",
    "PluginRegisterDBCursor", "PluginRegisterDBEngine", "PluginRegisterDBTable", "PluginRegisterInterface",
    "PluginRegisterMethod", "PluginRegisterMobileControl", "PluginRegisterModule",
    "PluginRemoveEventHandler", "PluginBooleanArraySetProc", "PluginColorArraySetProc",
    "PluginCurrencyArraySetProc", "PluginDoubleArraySetProc", "PluginInt16ArraySetProc",
    "PluginInt32ArraySetProc", "PluginInt64ArraySetProc", "PluginInt8ArraySetProc",
    "PluginIntegerArraySetProc", "PluginObjectArraySetProc", "PluginSingleArraySetProc",
    "PluginStringArraySetProc", "PluginTextArraySetProc", "PluginUInt16ArraySetProc",
    "PluginUInt32ArraySetProc", "PluginUInt64ArraySetProc", "PluginUInt8ArraySetProc",
    "PluginUIntegerArraySetProc", "REALSetPropValueBoolean", "REALSetPropValueColor",
    "REALSetPropValueCurrency", "REALSetPropValueDouble", "REALSetPropValueInt16", "REALSetPropValueInt",
    "REALSetPropValueInt64", "REALSetPropValueInt8", "REALSetPropValueInteger", "REALSetPropValueObject",
    "REALSetPropValueString", "REALSetPropValueUInt16", "REALSetPropValueUInt32", "REALSetPropValueUInt64",
    "REALSetPropValueUInteger", "REALSetStringEncoding", "REALUnlockObject", "unlockPictureDescription",
    "REALUnlockString", "PluginUnlockText", "PluginUnregisterBackgroundTask", "REALYieldToRB",
    "REALdbCursorFromDBCursor", "REALdbDatabaseFromDBDatabase", "REALinRuntime", "PluginNewInstance",
    "PluginNewInstanceOfClass", "REALpathFromFolderItem",
};
// clang-format on
static_assert(sizeof kEntryNames / sizeof kEntryNames[0] == 198);

}  // namespace trv::test
