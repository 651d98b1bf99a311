// What a run of the embedded host is like: which version and kind it plays, what it lacks, how its arrays and
// pictures are stored.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace trvhost {

/// Which application class `pluginObjectType` knows: "Application" (Desktop), "ConsoleApplication",
/// "WebApplication" or none of the three (Unknown).
enum class HostKind { Desktop, Console, Web, Unknown };

/// Where an array keeps its dimension count and upper bound. Unknown is a readable layout that fits neither
/// known table. The hostile ones look like the table of 2021.0 but for one lie that a self test must notice:
/// a reference too many, two dimensions, another upper bound, a null data pointer; Hostile tells all four.
enum class ArrayLayout {
    ByVersion,
    Before2021,
    From2021,
    Unknown,
    Hostile,
    HostileReferences,
    HostileDimensions,
    HostileUbound,
    HostileData
};

/// How a picture keeps its pixels, which decides the description types that it can be locked as.
/// The Windows storages can be made on Windows only; elsewhere asking for one throws std::invalid_argument.
enum class PictureStorage {
    Default,          ///< what the host of this kind and platform gives a new picture, see Host::NewPicture
    GdTrueColor,      ///< a gdImage of true colour; locks as type 10
    GdPalette,        ///< a gdImage with a palette of 256 grays; locks as type 10
    Packed32,         ///< packed 32-bit words; locks as type 14
    Vector,           ///< drawn, never locked; type code 1
    VectorMac,        ///< as Vector, type code 3
    HiDpi,            ///< a set of representations, never locked itself; type code 0
    GdiPlusArgb,      ///< GDI+ bitmap, 32bppARGB; locks as type 11
    GdiPlusPargb,     ///< GDI+ bitmap, 32bppPARGB; locks as type 11
    GdiPlusRgb24,     ///< GDI+ bitmap, 24bppRGB; locks as type 11
    GdiPlusIndexed8,  ///< GDI+ bitmap, 8bppIndexed with 256 grays; locks as type 11, in 32 bits as a copy
    Dib32,            ///< DIB section of 32 bits, top-down; locks as type 7
    Dib24,            ///< DIB section of 24 bits, top-down; locks as type 7
    Dib16,            ///< DIB section of 16 bits (5-5-5), top-down; locks as type 7
    Dib8,             ///< DIB section of 8 bits with 256 grays, top-down; locks as type 7
    DeviceBitmap,     ///< device-dependent bitmap, whose bits have no address; locks as type 7
};

/// Version thresholds that the interface knows, for tests that walk them.
inline constexpr double kVersionThresholds[] = {2007.02, 2010.029, 2011.04, 2012.0, 2013.0,  2013.03, 2013.04,
                                                2016.0,  2016.03,  2018.02, 2020.0, 2020.02, 2021.0};

/// How the host hands out the bytes of PluginGetStringData.
enum class StringDataForm {
    Terminated,            ///< zero-terminated (four zero bytes)
    NotTerminated,         ///< a byte that is not zero follows the data, then readable space
    ByteOrderMark,         ///< UTF-16 and UTF-32 begin with U+FEFF
    SwappedByteOrderMark,  ///< UTF-16 and UTF-32 are byte-swapped and begin with the swapped mark
};

/// When a Host with a library calls its REALPluginMain.
enum class Start {
    AtOnce,        ///< in the constructor, with the host's resolver
    NullResolver,  ///< in the constructor, with a null resolver
    Later,         ///< when Host::Connect() is called
};

struct Options {
    double version = 2024.01;           ///< what `REALGetRBVersion` answers
    HostKind kind = HostKind::Desktop;  ///< which application class exists
    bool inRuntime = true;              ///< what `REALinRuntime` answers
    bool inDebugMode = false;           ///< what `REALInDebugMode` answers
    Start start = Start::AtOnce;        ///< when REALPluginMain is called
    ArrayLayout arrayLayout = ArrayLayout::ByVersion;
    /// Of pictures that the plug-in has made. Storages without alpha serve pictures with alpha too, which
    /// then lack it; the GDI+ storages with alpha serve those pictures only, and the others are Dib32, as
    /// hosts keep them.
    PictureStorage pictureStorage = PictureStorage::Default;
    StringDataForm stringDataForm = StringDataForm::Terminated;

    /// Entry names that the resolver answers with null. Those of the second resolver are written
    /// "GetRBScriptResolver/RuntimeClassOf". An address that the plug-in already holds stays callable.
    std::set<std::string, std::less<>> missingEntries;
    /// Classes that neither `pluginObjectType` nor `PluginNewInstance` knows.
    std::set<std::string, std::less<>> missingClasses;
    /// Members of the host's own classes that look-ups do not find: a declaration text or a property name,
    /// for every class, or "Class.member" for one ("Picture.HasAlphaChannel").
    std::set<std::string, std::less<>> missingMembers;

    /// A memory block above this size cannot be allocated, on any machine.
    int64_t largestMemoryBlock = int64_t{16} << 30;
    /// Records the name of each entry that is called, in order (Host::Trace), until 100,000 are noted.
    bool trace = false;
    /// Gets one line, without newline, for each thing worth telling: loading, misuse, message boxes. May be
    /// empty.
    std::function<void(std::string_view)> log;
};

}  // namespace trvhost
