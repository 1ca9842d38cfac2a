#include <rkcore/RBRootRunner.h>

#include <rkcore/Alert.h>
#include <rkcore/HelperPrograms.h>
#include <rkcore/Logging.h>
#include <rkcore/RBFileSystemObject.h>
#include <rkcore/rpf_diagnostics.h>

#include "../platform/Applications_p.h"
#include "../platform/DesktopEntry_p.h"
#include "../platform/FileCatalog_p.h"
#include "../platform/MountTable_p.h"
#include "../platform/Polkit_p.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QWindow>

#include <array>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace rk {

const char RBRootRunner::kLaunchCFMAppPath[] =
    "/System/Library/Frameworks/Carbon.framework/Versions/A/Support/LaunchCFMApp";

namespace {

constexpr uint32_t kApplicationType = 0x4150504C; // 'APPL'

void sorry(const char *message)
{
    Alert alert;
    alert.title = QStringLiteral("Sorry");
    alert.message = QString::fromLatin1(message);
    alert.defaultButton = QStringLiteral("OK");
    runAlert(alert);
    terminateApplication();
}

QByteArray absolute(const QByteArray &path)
{
    if (path.isEmpty() || path.startsWith('/')) return path;
    const QByteArray current = QFile::encodeName(QDir::currentPath());
    return current.endsWith('/') ? current + path : current + '/' + path;
}

int32_t pointedToKindOf(mode_t mode)
{
    if (S_ISDIR(mode)) return kRBKindFolder;
    if (S_ISREG(mode)) return kRBKindFile;
    if (S_ISLNK(mode)) return kRBKindSymbolicLink;
    return kRBKindNone;
}

// The Finder type "APPL" of a regular file as the platform sees it: stated in
// its Finder information, or an executable program, or a desktop entry of
// Type=Application.
bool hasApplicationType(const QByteArray &path)
{
    const auto info = platform::readFinderInfo(path.constData(), true);
    if (info && info->type == kApplicationType) return true;
    struct stat status {};
    if (stat(path.constData(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    if ((status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0 && platform::isExecutableProgram(path.constData()))
        return true;
    if (!platform::looksLikeDesktopEntry(path.constData())) return false;
    const auto entry = platform::readDesktopEntry(path.constData());
    return entry && entry->type == QLatin1String("Application");
}

// Folders: every item flag is requested (the platform computes the same flags
// whatever the request).
int32_t classifyFolder(const QByteArray &path, bool *isPackaged)
{
    const uint32_t flags = platform::folderItemFlags(path, platform::MountTable::snapshot());
    if ((flags & platform::kItemIsApplication) != 0) {
        if (isPackaged != nullptr) *isPackaged = true;
        return kRBKindApplication;
    }
    if ((flags & platform::kItemIsPackage) != 0) return kRBKindPackage;
    return (flags & platform::kItemIsVolume) != 0 ? kRBKindVolume : kRBKindFolder;
}

int32_t classifyRegularFile(const QByteArray &path, int32_t *typeWePointTo, bool *isPackaged)
{
    int32_t kind = kRBKindFile;
    int32_t target = kRBKindNone;
    QByteArray reference = path;
    if (platform::looksLikeDesktopEntry(path.constData())) {
        const auto resolution = platform::resolveAliasFile(path);
        struct stat status {};
        if (resolution.wasAlias && resolution.resolved && stat(resolution.target.constData(), &status) == 0) {
            kind = kRBKindAlias;
            target = S_ISDIR(status.st_mode) ? kRBKindFolder : kRBKindFile;
            reference = resolution.target;
        }
    }
    if (hasApplicationType(reference)) {
        if (isPackaged != nullptr) *isPackaged = false;
        return kRBKindApplication;
    }
    if (kind == kRBKindAlias && typeWePointTo != nullptr) *typeWePointTo = target;
    return kind;
}

// Brings the calling application to the front (its first visible window),
// so the password dialog that may follow belongs to what the user sees.
// Nothing for a program without a GUI application object or windows.
void activateApplication()
{
    if (qobject_cast<QGuiApplication *>(QCoreApplication::instance()) == nullptr) return;
    if (QGuiApplication::applicationState() == Qt::ApplicationActive) return;
    for (QWindow *window : QGuiApplication::topLevelWindows()) {
        if (window->isVisible()) {
            window->requestActivate();
            return;
        }
    }
}

} // namespace

RBRootRunner::RBRootRunner(Tag) {}

RBRootRunner::~RBRootRunner() = default;

std::unique_ptr<RBRootRunner> RBRootRunner::create()
{
    return std::make_unique<RBRootRunner>(Tag{});
}

bool RBRootRunner::askForAndRunUserSelectionAsRoot()
{
    const QString program = helperProgramPath(QStringLiteral("root-runner"));
    if (program.isNull() || !QProcess::startDetached(program, {})) {
        qCWarning(rkcoreLog).noquote() << "Could not launch Root Runner";
        return false;
    }
    return true;
}

bool RBRootRunner::openApplicationPathAsRoot(const QString &path)
{
    activateApplication();
    create()->openItemAtPathAsRoot(path);
    return true;
}

bool RBRootRunner::openFile(const QString &file, const QString &application)
{
    activateApplication();
    create()->openItemAsRoot(file, application);
    return true;
}

void RBRootRunner::openItemAtPathAsRoot(const QString &path)
{
    openItemAtPathAsRoot(QFile::encodeName(path));
}

void RBRootRunner::openItemAtPathAsRoot(const QByteArray &path)
{
    openAsRootRequest(absolute(path), nullptr);
}

void RBRootRunner::openItemAsRoot(const QString &item, const QString &application)
{
    openItemAsRoot(QFile::encodeName(item), QFile::encodeName(application));
}

void RBRootRunner::openItemAsRoot(const QByteArray &item, const QByteArray &application)
{
    const QByteArray document = absolute(item);
    openAsRootRequest(absolute(application), &document);
}

void RBRootRunner::openAsRootRequest(const QByteArray &application, const QByteArray *document)
{
    m_adminOpenApplicationPath = helperProgramPath(QStringLiteral("adminopen"));
    if (m_adminOpenApplicationPath.isNull()) {
        m_lastOutcome = Outcome::NoHelper;
        sorry("Could not find adminopen application");
        return;
    }
    bool packaged = false;
    int32_t target = kRBKindNone;
    if (typeForItemAtPath(application, &target, &packaged) != kRBKindApplication) {
        m_lastOutcome = Outcome::NotAnApplication;
        return;
    }

    QByteArray executable = application;
    if (packaged) {
        executable = platform::applicationExecutable(application);
        if (executable.isEmpty()) {
            m_lastOutcome = Outcome::NoExecutable;
            sorry("Error getting application path.");
            return;
        }
    }
    m_lastOutcome = Outcome::Refused;
    if (authenticate()) {
        const bool carbon = isCarbonAppAtPath(executable);
        const bool opened =
            document != nullptr ? openAsRoot(executable, *document, carbon) : openAsRoot(executable, carbon);
        m_lastOutcome = opened ? Outcome::Opened : Outcome::Failed;
        if (!opened) sorry("Could not launch application as Administrator");
    } else if (m_authorityUnavailable) {
        m_lastOutcome = Outcome::NoAuthority;
    }
    deauthenticate();
}

bool RBRootRunner::isAuthenticated()
{
    authorizationRef = true;
    const auto answer = platform::polkitCheckAuthorization(false, QFile::encodeName(m_adminOpenApplicationPath));
    m_authorityUnavailable = answer == platform::PolkitAnswer::Unavailable;
    return answer == platform::PolkitAnswer::Authorized;
}

bool RBRootRunner::fetchPassword()
{
    if (!authorizationRef) return false;
    const auto answer = platform::polkitCheckAuthorization(true, QFile::encodeName(m_adminOpenApplicationPath));
    m_authorityUnavailable = answer == platform::PolkitAnswer::Unavailable;
    return answer == platform::PolkitAnswer::Authorized;
}

bool RBRootRunner::authenticate()
{
    if (!isAuthenticated()) fetchPassword();
    return isAuthenticated();
}

void RBRootRunner::deauthenticate()
{
    authorizationRef = false;
}

bool RBRootRunner::hasAuthorizationSession() const
{
    return authorizationRef;
}

bool RBRootRunner::isCarbonAppAtPath(const QByteArray &path) const
{
    return platform::startsWithPEFSignature(path.constData());
}

bool RBRootRunner::openAsRoot(const QByteArray &executable, bool isCarbonApp)
{
    return openAsRoot(executable, QByteArray(), isCarbonApp);
}

bool RBRootRunner::openAsRoot(const QByteArray &executable, const QByteArray &file, bool isCarbonApp)
{
    if (!authenticate()) return false;
    QList<QByteArray> arguments;
    if (isCarbonApp) arguments.append(QByteArray(kLaunchCFMAppPath));
    arguments.append(executable);
    if (!file.isNull()) arguments.append(file);
    if (m_adminOpenApplicationPath.isNull() ||
        !platform::polkitExecute(QFile::encodeName(m_adminOpenApplicationPath), arguments)) {
        beep();
        return false;
    }
    return true;
}

int32_t RBRootRunner::typeForItemAtPath(const QString &path, int32_t *typeWePointTo, bool *isPackaged) const
{
    if (path.contains(QChar(u'\0'))) {
        if (isPackaged != nullptr) *isPackaged = false;
        return kRBKindNone;
    }
    return typeForItemAtPath(QFile::encodeName(path), typeWePointTo, isPackaged);
}

int32_t RBRootRunner::typeForItemAtPath(const QByteArray &path, int32_t *typeWePointTo, bool *isPackaged) const
{
    if (isPackaged != nullptr) *isPackaged = false;
    // A file URL and a reference need a non-empty path without NUL bytes.
    if (path.isEmpty() || path.contains('\0')) return kRBKindNone;
    struct stat status {};
    if (lstat(path.constData(), &status) != 0) return kRBKindNone;
    if (S_ISLNK(status.st_mode)) {
        if (stat(path.constData(), &status) != 0) {
            rpf_diagnostics_write_line("\t\tError getting item statistics");
            return kRBKindNone;
        }
        if (typeWePointTo != nullptr) *typeWePointTo = pointedToKindOf(status.st_mode);
        return kRBKindSymbolicLink;
    }
    if (stat(path.constData(), &status) != 0) return kRBKindNone;
    if (S_ISDIR(status.st_mode)) return classifyFolder(path, isPackaged);
    if (S_ISREG(status.st_mode)) return classifyRegularFile(path, typeWePointTo, isPackaged);
    return kRBKindNone;
}

void RBRootRunner::setAuthorizationPrograms(const QByteArray &checker, const QByteArray &launcher)
{
    platform::setPolkitPrograms(checker, launcher);
}

RBRootRunner::Outcome RBRootRunner::lastOutcome() const
{
    return m_lastOutcome;
}

QString RBRootRunner::adminOpenApplicationPath() const
{
    return m_adminOpenApplicationPath;
}

} // namespace rk
