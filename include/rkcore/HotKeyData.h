// HotKeyData: what HotKeyCenter keeps per name: the combination, the target
// and action, and the registration state.
//
// Ownership: made and held by HotKeyCenter (std::shared_ptr); read-only to
// everyone else. The target is not kept alive (a QPointer: a destroyed target
// is simply not called). Thread: main thread, as HotKeyCenter.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>

#include <cstdint>
#include <memory>

#include <rkcore/KeyCombo.h>

namespace rk {

class HotKeyCenter;

class RKCORE_EXPORT HotKeyData final {
    struct Tag {};

public:
    HotKeyData(Tag, std::shared_ptr<KeyCombo> combo, QObject *target, QByteArray action);
    ~HotKeyData();
    HotKeyData(const HotKeyData &) = delete;
    HotKeyData &operator=(const HotKeyData &) = delete;

    // True once a system registration succeeded; stays true after the
    // registration is withdrawn by HotKeyCenter::setEnabled(false).
    bool registered() const { return mRegistered; }
    // The system's handle of the registration, 0 until registered (kept after
    // the registration is withdrawn, as registered() is).
    uintptr_t ref() const { return mRef; }
    const std::shared_ptr<KeyCombo> &combo() const { return mCombo; }
    QObject *target() const { return mTarget.data(); }
    const QByteArray &action() const { return mAction; }
    // The 32-bit identity of this entry in hot-key events (never 0, unique in
    // the process).
    uint32_t identity() const { return identity_; }
    // The status of the last registration attempt (kHotKeyNoErr or one of the
    // codes of rkcore/HotKeyEvent.h).
    int32_t lastStatus() const { return lastStatus_; }

    // The live entry whose identity is `identity`, in any registry; nullptr.
    static std::shared_ptr<HotKeyData> withIdentity(uint32_t identity);

private:
    friend class HotKeyCenter;
    static std::shared_ptr<HotKeyData> make(std::shared_ptr<KeyCombo> combo, QObject *target, QByteArray action);

    bool mRegistered = false;
    uintptr_t mRef = 0;
    std::shared_ptr<KeyCombo> mCombo;
    QPointer<QObject> mTarget;
    QByteArray mAction;
    uint32_t identity_ = 0;
    int32_t lastStatus_ = 0;
};

} // namespace rk
