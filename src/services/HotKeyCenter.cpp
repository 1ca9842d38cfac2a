#include <rkcore/HotKeyCenter.h>

#include <rkcore/AssertionFailure.h>
#include <rkcore/Logging.h>

#include <QMetaObject>

#include <utility>

#include "../platform/X11HotKeys_p.h"

namespace rk {

namespace {

// Where the registry's assertions report themselves.
const QString kSourceFile = QStringLiteral("Hot Keys/HotKeyCenter");

struct AssertionSite {
    const char *method;
    int line;
};
constexpr AssertionSite kAddName{"-[HotKeyCenter addHotKey:combo:target:action:]", 123};
constexpr AssertionSite kAddCombo{"-[HotKeyCenter addHotKey:combo:target:action:]", 124};
constexpr AssertionSite kAddTarget{"-[HotKeyCenter addHotKey:combo:target:action:]", 125};
constexpr AssertionSite kAddAction{"-[HotKeyCenter addHotKey:combo:target:action:]", 126};
constexpr AssertionSite kHandleSupported{"-[HotKeyCenter handleHotKeyEvent:]", 239};
constexpr AssertionSite kHandleClass{"-[HotKeyCenter handleHotKeyEvent:]", 240};
constexpr AssertionSite kHandleSignature{"-[HotKeyCenter handleHotKeyEvent:]", 253};
constexpr AssertionSite kHandleId{"-[HotKeyCenter handleHotKeyEvent:]", 256};
constexpr AssertionSite kRegister{"-[HotKeyCenter _registerHotKeyIfNeeded:]", 286};
constexpr AssertionSite kUnregister{"-[HotKeyCenter _unregisterHotKeyIfNeeded:]", 312};

void check(bool condition, const AssertionSite &site, const void *object, const QString &description)
{
    if (!condition) assertionFailed(QString::fromLatin1(site.method), object, kSourceFile, site.line, description);
}

void checkParameter(bool condition, const AssertionSite &site, const void *object, const char *text)
{
    if (!condition) check(false, site, object, invalidParameterDescription(text));
}

// The system's hot-key events all go to the shared registry.
void keyEventHandler(uint32_t signature, uint32_t id, bool pressed)
{
    const HotKeyEvent event{kEventClassKeyboard, pressed ? kEventHotKeyPressed : kEventHotKeyReleased,
                            HotKeyID{signature, id}};
    (void)HotKeyCenter::sharedCenter().handleHotKeyEvent(event);
}

} // namespace

HotKeyCenter::HotKeyCenter(Tag /*unused*/) {}

HotKeyCenter::~HotKeyCenter()
{
    // A registry that goes away takes its system registrations with it (the
    // shared one never does).
    for (const std::shared_ptr<HotKeyData> &hk : std::as_const(mHotKeys)) {
        if (hk.use_count() == 1) _unregisterHotKeyIfNeeded(hk.get());
    }
}

HotKeyCenter &HotKeyCenter::sharedCenter()
{
    // Made without touching any QObject: an application that routes every event
    // through the registry calls this from its event dispatch.
    static HotKeyCenter *const center = [] {
        auto *made = new HotKeyCenter(Tag{});
        if (_systemSupportsHotKeys()) platform::setX11HotKeyHandler(&keyEventHandler);
        return made;
    }();
    return *center;
}

std::shared_ptr<HotKeyCenter> HotKeyCenter::create()
{
    return std::make_shared<HotKeyCenter>(Tag{});
}

std::shared_ptr<HotKeyCenter> HotKeyCenter::initWithHotKeyList(const HotKeyList &list)
{
    auto center = create();
    center->mHotKeys = list;
    return center;
}

bool HotKeyCenter::addHotKey(const QString &name, const std::shared_ptr<KeyCombo> &combo, QObject *target,
                             const char *action)
{
    checkParameter(!name.isNull(), kAddName, this, "name != nil");
    checkParameter(combo != nullptr, kAddCombo, this, "combo != nil");
    checkParameter(target != nullptr, kAddTarget, this, "target != nil");
    checkParameter(action != nullptr && *action != '\0', kAddAction, this, "action != nil");

    if (mHotKeys.contains(name)) removeHotKey(name);
    const std::shared_ptr<HotKeyData> hk = HotKeyData::make(combo, target, QByteArray(action));
    mHotKeys.insert(name, hk);
    return _registerHotKeyIfNeeded(hk.get());
}

void HotKeyCenter::removeHotKey(const QString &name)
{
    const auto found = mHotKeys.constFind(name);
    if (found == mHotKeys.constEnd()) return;
    _unregisterHotKeyIfNeeded(found.value().get());
    mHotKeys.remove(name);
}

QStringList HotKeyCenter::allNames() const
{
    return mHotKeys.keys();
}

std::shared_ptr<KeyCombo> HotKeyCenter::keyComboForName(const QString &name) const
{
    const std::shared_ptr<HotKeyData> hk = mHotKeys.value(name);
    return hk ? hk->combo() : nullptr;
}

void HotKeyCenter::setEnabled(bool enabled)
{
    mEnabled = enabled;
    const HotKeyList entries = mHotKeys; // an action may not run here, but stay safe against changes
    for (const std::shared_ptr<HotKeyData> &hk : entries) {
        if (enabled) {
            (void)_registerHotKeyIfNeeded(hk.get());
        } else {
            _unregisterHotKeyIfNeeded(hk.get());
        }
    }
}

void HotKeyCenter::sendEvent(const ApplicationEvent &event)
{
    if (_systemSupportsHotKeys()) return;
    if (event.type != kSystemDefinedEventType || event.data1 == 0) return;
    if (event.subtype == kHotKeyPressedSubtype) {
        _hotKeyDownWithRef(event.data1);
    } else if (event.subtype == kHotKeyReleasedSubtype) {
        _hotKeyUpWithRef(event.data1);
    }
}

int32_t HotKeyCenter::handleHotKeyEvent(const HotKeyEvent &event)
{
    check(_systemSupportsHotKeys(), kHandleSupported, this, QString());
    check(event.eventClass == kEventClassKeyboard, kHandleClass, this, QStringLiteral("Got unhandled event class"));
    if (!event.hotKeyID) return kEventParameterNotFoundErr;
    const HotKeyID id = *event.hotKeyID;
    check(id.signature == kHotKeySignature, kHandleSignature, this, QStringLiteral("Got unknown hot key"));
    check(id.id != 0, kHandleId, this, QStringLiteral("Got bad hot key"));

    if (event.eventKind == kEventHotKeyPressed || event.eventKind == kEventHotKeyReleased) {
        // An identifier of an entry that is gone (removed after the press was
        // queued) finds nothing and does nothing.
        const std::shared_ptr<HotKeyData> hk = HotKeyData::withIdentity(id.id);
        if (hk) {
            if (event.eventKind == kEventHotKeyPressed) {
                _hotKeyDown(hk.get());
            } else {
                _hotKeyUp(hk.get());
            }
        }
    }
    return kHotKeyNoErr;
}

bool HotKeyCenter::_systemSupportsHotKeys()
{
    return platform::x11HotKeysAvailable();
}

bool HotKeyCenter::_registerHotKeyIfNeeded(HotKeyData *hk)
{
    checkParameter(hk != nullptr, kRegister, this, "hk != nil");
    if (!mEnabled || hk->mRegistered) return true;
    if (!hk->mCombo->isValid()) return true;
    // Presses of any registry's keys reach the shared one, as they always have.
    if (_systemSupportsHotKeys()) platform::setX11HotKeyHandler(&keyEventHandler);
    uintptr_t ref = 0;
    hk->lastStatus_ = platform::registerX11HotKey(hk->mCombo->keyCode(), hk->mCombo->modifiers32(), kHotKeySignature,
                                                  hk->identity_, &ref);
    if (hk->lastStatus_ != kHotKeyNoErr) return false;
    hk->mRef = ref;
    hk->mRegistered = true;
    return true;
}

void HotKeyCenter::_unregisterHotKeyIfNeeded(HotKeyData *hk)
{
    checkParameter(hk != nullptr, kUnregister, this, "hk != nil");
    // The flag and the handle stay: see setEnabled.
    if (hk->mRegistered && hk->mRef != 0) platform::unregisterX11HotKey(hk->mRef);
}

void HotKeyCenter::_hotKeyDown(HotKeyData *hk)
{
    QObject *target = hk->target();
    if (target == nullptr) return;
    if (!QMetaObject::invokeMethod(target, hk->action().constData(), Qt::DirectConnection,
                                   Q_ARG(rk::HotKeyCenter *, this))) {
        qCWarning(rkcoreLog, "Hot key target %s has no method %s(rk::HotKeyCenter *)",
                  target->metaObject()->className(), hk->action().constData());
    }
}

void HotKeyCenter::_hotKeyUp(HotKeyData * /*hk*/) {}

void HotKeyCenter::_hotKeyDownWithRef(uintptr_t ref)
{
    const std::shared_ptr<HotKeyData> hk = _findHotKeyWithRef(ref);
    if (hk) _hotKeyDown(hk.get());
}

void HotKeyCenter::_hotKeyUpWithRef(uintptr_t /*ref*/) {}

std::shared_ptr<HotKeyData> HotKeyCenter::_findHotKeyWithRef(uintptr_t ref) const
{
    for (const std::shared_ptr<HotKeyData> &hk : mHotKeys) {
        if (hk->ref() == ref) return hk;
    }
    return nullptr;
}

} // namespace rk
