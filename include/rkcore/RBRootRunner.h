// RBRootRunner: opens an application, or a document with an application, with
// administrator (root) rights.
//
// Rights come from polkit: the framework's own action
// "org.ravix.rkcore.adminopen" (installed with the library, defaults
// auth_admin_keep, allowed to keep DISPLAY and XAUTHORITY so graphical
// programs can start). The privileged helper "adminopen" (installed to
// libexec, see rkcore/HelperPrograms.h) is run as root through pkexec with
// the program and the document as its arguments: application first, then
// document; for an executable that starts with "Joy!" the classic launcher's
// path comes first. Arguments go as an argument vector, never through a
// shell, so spaces, quotes, leading dashes and any bytes arrive unchanged.
//
// Failure: as the original service, the fatal conditions show the alert
// "Sorry" (rk::runAlert) and end the application (rk::terminateApplication);
// a failed privileged run beeps first (rk::beep). Tests replace the three with
// the handlers of rkcore/Alert.h. An item that is not an application, and a
// refused or cancelled authentication, do nothing.
//
// Paths: the QString forms take paths as text; the QByteArray forms take the
// file system's bytes (for names that are not UTF-8). Relative paths are made
// absolute against the current folder first.
//
// Thread: main thread only. isAuthenticated never interacts; fetchPassword
// (and so the open requests) may block while an authentication agent asks
// the user; without an agent it fails at once.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <memory>

#include <rkcore/Conventions.h>

namespace rk {

class RKCORE_EXPORT RBRootRunner final {
    struct Tag {};

public:
    // The launcher that starts classic (CFM) applications; its path is passed
    // first for an executable that starts with "Joy!".
    static const char kLaunchCFMAppPath[];

    // Starts the "Root Runner" helper (pick an item, run it as root); false
    // when it is missing or cannot be started.
    static bool askForAndRunUserSelectionAsRoot();
    // Brings this application's first visible window to the front when the
    // application is not active (a GUI application only), makes a runner and
    // sends it openItemAtPathAsRoot; true (a runner can always be made here).
    static bool openApplicationPathAsRoot(const QString &path);
    // The same with openItemAsRoot(file, application).
    static bool openFile(const QString &file, const QString &application);

    // authorizationRef null: no session yet.
    static std::unique_ptr<RBRootRunner> create();
    ~RBRootRunner();
    RBRootRunner(const RBRootRunner &) = delete;
    RBRootRunner &operator=(const RBRootRunner &) = delete;

    void openItemAtPathAsRoot(const QString &path);
    void openItemAtPathAsRoot(const QByteArray &path);
    // Opens `item` (a document) with `application` as root.
    void openItemAsRoot(const QString &item, const QString &application);
    void openItemAsRoot(const QByteArray &item, const QByteArray &application);

    // Whether this process holds the right, asked without interaction;
    // starts the session on first use.
    bool isAuthenticated();
    // Asks with interaction allowed; false without a session.
    bool fetchPassword();
    // isAuthenticated, else fetchPassword and isAuthenticated again.
    bool authenticate();
    // Ends the session (nothing without one).
    void deauthenticate();
    bool hasAuthorizationSession() const;

    // Whether the file starts with the four bytes "Joy!".
    bool isCarbonAppAtPath(const QByteArray &path) const;
    // Runs adminopen as root with [LaunchCFMApp,] executable [, file]; on
    // failure beeps and answers false.
    bool openAsRoot(const QByteArray &executable, bool isCarbonApp);
    bool openAsRoot(const QByteArray &executable, const QByteArray &file, bool isCarbonApp);

    // The runner's own classification, like
    // RBFileSystemObject::typeForItemAtPath except that: no existence test
    // comes first (a missing path still sets *isPackaged to false; a dangling
    // link prints "\t\tError getting item statistics"); a failed status read
    // of something that is not a link answers 0 silently; folders are
    // examined with every item flag requested. Either pointer may be null.
    int32_t typeForItemAtPath(const QString &path, int32_t *typeWePointTo, bool *isPackaged) const;
    int32_t typeForItemAtPath(const QByteArray &path, int32_t *typeWePointTo, bool *isPackaged) const;

    // What the last open request came to (beyond the original service, for
    // callers that report it).
    enum class Outcome {
        None,             // no request yet
        NoHelper,         // "adminopen" is missing
        NotAnApplication, // the item is not an application: nothing done
        NoExecutable,     // an application folder without its executable
        Refused,          // authentication refused or cancelled: nothing done
        NoAuthority,      // polkit could not be asked (no daemon, no system bus): nothing done
        Failed,           // the privileged run failed
        Opened,           // adminopen started the program as root
    };
    Outcome lastOutcome() const;

    // The programs used in place of polkit's "pkcheck" and "pkexec" (looked up
    // on PATH when not absolute); empty restores them. For tests, and for
    // systems whose polkit tools live elsewhere. Set before any request.
    static void setAuthorizationPrograms(const QByteArray &checker, const QByteArray &launcher);

    // The helper's path as the last open request found it (null before).
    QString adminOpenApplicationPath() const;

    explicit RBRootRunner(Tag);

private:
    void openAsRootRequest(const QByteArray &application, const QByteArray *document);

    bool authorizationRef = false; // a session exists
    Outcome m_lastOutcome = Outcome::None;
    bool m_authorityUnavailable = false; // the last question could not be asked
    QString m_adminOpenApplicationPath;
};

} // namespace rk
