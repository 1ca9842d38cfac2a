// rkcore info: one item's attributes as its object answers them, labelled.

#include <rkcore/RBFileSystemObject.h>
#include <rkcore/RBPermission.h>
#include <rkcore/rpf_diagnostics.h>

#include <QLoggingCategory>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli.h"
#include "commands.h"

namespace rkcli {

namespace {

QString kindName(int32_t kind)
{
    switch (kind) {
    case rk::kRBKindFolder: return QStringLiteral("folder");
    case rk::kRBKindFile: return QStringLiteral("file");
    case rk::kRBKindSymbolicLink: return QStringLiteral("symbolic link");
    case rk::kRBKindAlias: return QStringLiteral("alias");
    case rk::kRBKindApplication: return QStringLiteral("application");
    case rk::kRBKindPackage: return QStringLiteral("package");
    case rk::kRBKindVolume: return QStringLiteral("volume");
    default: return QStringLiteral("none (missing, or a device, pipe or socket)");
    }
}

QString yesNo(bool value)
{
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

QString orDash(const QString &text)
{
    return text.isEmpty() ? QStringLiteral("-") : text;
}

// A Finder code as its four characters, "-" when unset, "not available" when
// the catalogue could not be read.
QString codeText(rk::OSType code)
{
    if (code == static_cast<rk::OSType>(-1)) return QStringLiteral("not available");
    if (code == 0) return QStringLiteral("-");
    return QLatin1Char('\'') + rk::RBFileSystemObject::osTypeToFourCharCode(code) + QLatin1Char('\'');
}

QString permissionsText(const rk::RBFileSystemObject &object)
{
    const auto permissions = object.permissions();
    QStringList special;
    if (permissions->hasSuidBit()) special << QStringLiteral("setuid");
    if (permissions->hasSgidBit()) special << QStringLiteral("setgid");
    if (permissions->hasStickyBit()) special << QStringLiteral("sticky");
    QString text = QStringLiteral("%1 (%2)").arg(permissions->stringValue()).arg(permissions->intValue());
    if (!special.isEmpty()) text += QStringLiteral(", ") + special.join(QStringLiteral(", "));
    return text;
}

void printTarget(const rk::RBFileSystemObject &object)
{
    if (!object.isLink() && !object.isAlias()) return;
    const QString target = object.aliasOrLinkTargetPath();
    printField(QStringLiteral("target"), target.isNull() ? QStringLiteral("(invalid)") : target);
    printField(QStringLiteral("target kind"), kindName(object.aliasOrLinkTargetKind()));
}

} // namespace

int infoCommand(const Arguments &arguments)
{
    const QString path = arguments.at(0);
    rpf_diagnostics_set_stream(stderr);
    QLoggingCategory::setFilterRules(QStringLiteral("rkcore.info=false"));
    errno = 0;
    const auto object = rk::RBFileSystemObject::newFSOForLocalPathBytes(arguments.positionalBytes().at(0), false);
    if (!object) {
        const int error = errno;
        return failure(QStringLiteral("cannot read %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(error))));
    }
    printField(QStringLiteral("name"), object->name());
    printField(QStringLiteral("path"), object->completePath());
    printField(QStringLiteral("kind"),
               QStringLiteral("%1 (%2)").arg(kindName(object->fsoKind())).arg(object->fsoKind()));
    printField(QStringLiteral("kind text"), orDash(object->kindAsString()));
    printTarget(*object);
    if (object->isApplication()) printField(QStringLiteral("bundle"), yesNo(object->isApplicationPackaged()));
    printField(QStringLiteral("permissions"), permissionsText(*object));
    printField(QStringLiteral("owner"), object->owner());
    printField(QStringLiteral("group"), object->group());
    printField(QStringLiteral("links"), QString::number(object->links()));
    printField(QStringLiteral("modified"), orDash(object->dateModifiedAsString()));
    printField(QStringLiteral("created"),
               object->dateCreated().isValid() ? object->dateCreatedAsString() : QStringLiteral("not recorded"));
    printField(QStringLiteral("locked"), yesNo(object->isLocked()));
    printField(QStringLiteral("creator"), codeText(object->creator()));
    printField(QStringLiteral("type"), codeText(object->type()));
    printField(QStringLiteral("invisible"), yesNo(object->isInvisible()));
    printField(QStringLiteral("custom icon"), yesNo(object->hasCustomIcon()));
    printField(QStringLiteral("graphic file"), yesNo(object->isGraphicFile()));
    printField(QStringLiteral("volume"), orDash(object->volumeName()));
    printField(QStringLiteral("version"), orDash(object->versionString()));
    printField(QStringLiteral("url"), orDash(object->url()));
    printSizeLines(*object);
    return 0;
}

} // namespace rkcli
