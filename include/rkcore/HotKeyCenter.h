// HotKeyCenter: a registry of named, system-wide hot keys. Each name binds a
// KeyCombo to a target and action; while the registry is enabled every valid
// combination is registered with the system (on Linux: X11 key grabs on the
// root window, see README) and a press sends the action to the target with the
// registry as its argument. Releases are ignored.
//
// Target and action: `target` is a QObject that is not kept alive (a destroyed
// target is not called); `action` is the name of one of its slots or
// invokable methods taking `rk::HotKeyCenter *` ("hotKeyPressed" calls
// hotKeyPressed(rk::HotKeyCenter *)). It runs on the main thread.
//
// Programming errors throw rk::AssertionFailure with the file
// "Hot Keys/HotKeyCenter" and the line each member documents. Run-time
// failures answer false (addHotKey) and leave the entry in place,
// unregistered; HotKeyData::lastStatus says why.
//
// Thread: main thread only (the one running the Qt event loop); presses are
// delivered from that loop. Not synchronised.
#pragma once

#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>

#include <rkcore/HotKeyData.h>
#include <rkcore/HotKeyEvent.h>
#include <rkcore/KeyCombo.h>

namespace rk {

class RKCORE_EXPORT HotKeyCenter final {
    struct Tag {};

public:
    using HotKeyList = QMap<QString, std::shared_ptr<HotKeyData>>;

    // The process's registry, made on first use and alive until the process
    // ends. When the system supports hot keys, presses of every registry's
    // keys are handed to this one's handleHotKeyEvent.
    static HotKeyCenter &sharedCenter();
    // A separate, enabled, empty registry. Its destruction withdraws its registrations.
    static std::shared_ptr<HotKeyCenter> create();
    // A separate, enabled registry holding `list`'s entries (not registered anew).
    static std::shared_ptr<HotKeyCenter> initWithHotKeyList(const HotKeyList &list);
    const HotKeyList &hotKeyList() const { return mHotKeys; }

    // Binds `name` to `combo`, `target` and `action`, replacing (and first
    // removing) an entry of the same name, and registers it if the registry is
    // enabled and the combination valid. True when registered or when there
    // was nothing to register (disabled, invalid combination); false when the
    // system refused (the entry stays, unregistered). Assertions, in this
    // order: name not null (line 123), combo not null (124), target not null
    // (125), action not null nor empty (126), each "Invalid parameter not
    // satisfying: name != nil" and so on.
    bool addHotKey(const QString &name, const std::shared_ptr<KeyCombo> &combo, QObject *target, const char *action);
    // Withdraws the registration and forgets the name; nothing for an unknown name.
    void removeHotKey(const QString &name);
    QStringList allNames() const;
    // The name's combination, or nullptr.
    std::shared_ptr<KeyCombo> keyComboForName(const QString &name) const;

    // Stores the flag, then registers (true) or withdraws (false) every entry.
    // Entries withdrawn this way still count as registered, so a later
    // setEnabled(true) does not register them again; entries added while
    // disabled are registered then.
    void setEnabled(bool enabled);
    bool enabled() const { return mEnabled; }

    // For systems without system hot keys: a system-defined event (type 14)
    // of subtype 6 with a non-zero data1 presses the entry whose handle is
    // data1; everything else (and everything when the system supports hot
    // keys) is ignored.
    void sendEvent(const ApplicationEvent &event);

    // Handles one hot-key event and answers its status: kHotKeyNoErr, or
    // kEventParameterNotFoundErr when it carries no identifier. A press sends
    // the action of the entry whose identity() is the identifier's id (in any
    // registry; nothing when none is alive), with this registry as argument.
    // Assertions: system hot keys supported (line 239, empty description);
    // class 'keyb' (240, "Got unhandled event class"); signature 'HKyC' (253,
    // "Got unknown hot key"); id not 0 (256, "Got bad hot key").
    int32_t handleHotKeyEvent(const HotKeyEvent &event);

    // True when an X11 display is open (opened on first use from DISPLAY).
    static bool _systemSupportsHotKeys();

    // Registers `hk` unless the registry is disabled, `hk` is already
    // registered or its combination is invalid (true for all three); false
    // when the system refuses. nullptr asserts (line 286, "hk != nil").
    bool _registerHotKeyIfNeeded(HotKeyData *hk);
    // Withdraws `hk`'s system registration if it has one; its registered flag
    // and handle are kept. nullptr asserts (line 312, "hk != nil").
    void _unregisterHotKeyIfNeeded(HotKeyData *hk);
    // Sends `hk`'s action to its target with this registry as argument.
    void _hotKeyDown(HotKeyData *hk);
    void _hotKeyUp(HotKeyData *hk);
    void _hotKeyDownWithRef(uintptr_t ref);
    void _hotKeyUpWithRef(uintptr_t ref);
    // The first entry (in name order) whose handle is `ref`, or nullptr.
    std::shared_ptr<HotKeyData> _findHotKeyWithRef(uintptr_t ref) const;

    explicit HotKeyCenter(Tag);
    ~HotKeyCenter();
    HotKeyCenter(const HotKeyCenter &) = delete;
    HotKeyCenter &operator=(const HotKeyCenter &) = delete;

private:
    bool mEnabled = true;
    HotKeyList mHotKeys;
};

} // namespace rk
