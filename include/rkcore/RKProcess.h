// RKProcess: one object per running process, found by walking the process
// table one step at a time, with requests to show, hide and bring a process
// to the front.
//
// Serial numbers: a process's serial number is {0, pid}; {0, 0} means "no
// process" and is where the walk starts and ends. The cache key of a serial
// number is "%d-%d" (high word, low word, as signed decimals).
//
// Processes are read from /proc. Windows come from the X11 window manager
// (EWMH, DISPLAY): a process is background-only when it owns no managed
// top-level window (_NET_CLIENT_LIST, matched by _NET_WM_PID) when its object
// is made; the front process owns the active window (_NET_ACTIVE_WINDOW);
// show, hide and focus are requests to the window manager for the process's
// windows. Without an X11 display (or window manager) no process owns a
// window: every process is background-only, none is the front process or in
// the foreground, and show, hide and focus do nothing. No error is reported
// for that.
//
// Ownership: the cache (class-wide) holds the objects made by getNextProcess
// until retire() or a garbage collection drops them; callers share them.
// processForPSN answers an uncached object, owned by the caller, for a
// process that is not cached.
//
// Thread: main thread only; the class-wide state (cache, cursor) is not
// locked.
#pragma once

#include <QList>
#include <QString>

#include <cstdint>
#include <memory>

#include <rkcore/Conventions.h>

namespace rk {

struct ProcessSerialNumber {
    uint32_t highLongOfPSN = 0;
    uint32_t lowLongOfPSN = 0;
    friend bool operator==(const ProcessSerialNumber &, const ProcessSerialNumber &) = default;
};

class RKCORE_EXPORT RKProcess final {
    struct Tag {};

public:
    // ---- the process table ----

    // Advances the walk's cursor to the next running process and answers its
    // object: the cached one when known (so marks set with setFront survive),
    // else a new object, cached under its key. A process that ends while it
    // is being read is passed over. At the end of the table (or when /proc
    // cannot be read) answers nullptr with the cursor back at {0, 0}, so that
    // the next walk starts from the beginning.
    static std::shared_ptr<RKProcess> getNextProcess();

    // The cached object for `psn`, else a new, uncached object made with
    // initWithPSN (nullptr when the process does not run). Each call for an
    // uncached process answers a different object.
    static std::shared_ptr<RKProcess> processForPSN(const ProcessSerialNumber &psn);

    // The cached objects (a snapshot, in key order).
    static QList<std::shared_ptr<RKProcess>> processEnumerator();

    // Validates every cached object; those whose process has ended retire.
    static void doGarbageCollection();

    // The object of `key` ("0-1234") in the cache; nullptr when not cached.
    static std::shared_ptr<RKProcess> cachedProcessForKey(const QString &key);
    // The cache key of a serial number ("%d-%d").
    static QString keyForPSN(const ProcessSerialNumber &psn);
    // Where the walk's cursor stands ({0, 0}: before the first process).
    static ProcessSerialNumber seekProcess();
    // The serial number of this process, {0, getpid()}.
    static ProcessSerialNumber thisProcess();

    // A new object for a running process, or nullptr when `psn` names no
    // running process (ended, a zombie, high word not 0, or its name cannot be
    // read). The name is argv[0]'s last component, else the kernel's name.
    // Background-only: no managed window, or, deliberately, the walk's cursor
    // (not `psn`) standing on this process: during a walk the running
    // application lists itself as background-only.
    static std::shared_ptr<RKProcess> initWithPSN(const ProcessSerialNumber &psn);

    ~RKProcess();
    RKProcess(const RKProcess &) = delete;
    RKProcess &operator=(const RKProcess &) = delete;

    // Removes this object's key from the cache (the cache's reference goes).
    void retire();
    // Whether the process still runs; when it does not, retire() and false.
    // A later process that got the same pid is not this one: the cache never
    // answers an object of an ended process for it (the walk replaces it).
    bool validate();

    // Restores the process's iconified windows.
    void show();
    // Iconifies the process's windows.
    void hide();
    // Activates the process's first managed window.
    void focus();
    // Whether the active window belongs to this process.
    bool isFrontProcess() const;
    // false for a background-only process; else whether one of its windows is
    // not hidden (iconified).
    bool isForeground() const;

    QString getName() const;
    ProcessSerialNumber psn() const;
    bool isBGOnly() const;
    bool isFront() const;
    void setFront(bool front);
    bool isSticky() const;
    int32_t space() const;

    explicit RKProcess(Tag, QString name, const ProcessSerialNumber &psn, bool backgroundOnly, uint64_t startTime);

private:
    QString name;
    std::unique_ptr<ProcessSerialNumber> m_psn;
    bool sticky = false;
    bool BGOnly = false;
    bool front = false;
    int32_t m_space = 0;
    uint64_t m_startTime = 0; // tells this process from a later one with the same pid
};

} // namespace rk
