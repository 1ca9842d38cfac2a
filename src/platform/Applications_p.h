// Applications, packages and volumes as the object layer's identification sees
// them (the Launch Services item flags of Mac OS):
// - application: a folder whose name ends in ".app" holding its executable,
//   or an AppDir (a folder holding an executable "AppRun");
// - package: a folder whose name has a bundle extension (.app .bundle
//   .framework .plugin .kext .pkg .mpkg .rtfd and the others listed in the
//   implementation);
// - volume: a mount point.
// And a regular file that is an application program: an executable ELF
// program or AppImage.
//
// Paths are the item's bytes, NUL-terminated, absolute. Only regular files
// are opened, and only to read their first bytes (O_NONBLOCK). Thread: any.
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <optional>

namespace rk::platform {

class MountTable;

// Launch Services basic item flags, with their original values.
inline constexpr uint32_t kItemIsPackage = 0x00000002;
inline constexpr uint32_t kItemIsApplication = 0x00000004;
inline constexpr uint32_t kItemIsVolume = 0x00001000;

// Whether the last component of `name` has a bundle extension (compared
// case-insensitively, as the Finder does).
bool hasBundleExtension(const char *name);

// The executable of an application folder: for a ".app" folder the program
// named by its Info.plist's CFBundleExecutable in Contents/MacOS, else
// Contents/MacOS/<name without ".app">, else <folder>/<name without ".app">;
// for an AppDir its AppRun. The first that is an executable regular file;
// an empty QByteArray when there is none.
QByteArray applicationExecutable(const QByteArray &folder);

// The bundle's information dictionary: Contents/Info.plist, else Info.plist at
// the top of the folder (XML or binary). Nothing when there is none or it is
// damaged (not a dictionary).
std::optional<QVariantMap> bundleInfoDictionary(const QByteArray &folder);

// The item flags of a folder: kItemIsApplication | kItemIsPackage for an
// application bundle, kItemIsApplication for an AppDir, kItemIsPackage for a
// folder with a bundle extension, and kItemIsVolume when `mounts` says it is a
// mount point. 0 for anything else.
uint32_t folderItemFlags(const QByteArray &folder, const MountTable &mounts);

// Whether the regular file at `path` is an application program: an ELF file
// whose header says executable (ET_EXEC, or ET_DYN marked position-independent
// by DF_1_PIE in its dynamic section, or, from older linkers, with a program
// interpreter and no soname; shared libraries are not, even libc with its
// interpreter), or an AppImage (ELF with "AI" and type 1 or 2 at offset 8).
// Reads at most the ELF header, the program headers and the dynamic section
// (bounded). false for anything else, unreadable, or not a regular file.
bool isExecutableProgram(const char *path);

// Whether the regular file at `path` begins with "Joy!", the signature of a
// PEF (Carbon) executable. false when it cannot be read, is shorter than four
// bytes, or is not a regular file (a FIFO is never waited on, a device never
// read from).
bool startsWithPEFSignature(const char *path);

} // namespace rk::platform
