#include <rkcore/HotKeyData.h>

#include <QHash>

#include <mutex>
#include <utility>

namespace rk {

namespace {

// Every live entry by identity, so that an event's identifier finds its entry
// in whichever registry holds it, and a stale identifier finds nothing.
struct Identities {
    std::mutex mutex;
    QHash<uint32_t, std::weak_ptr<HotKeyData>> entries;
    uint32_t next = 1;
};

Identities &identities()
{
    static auto *instance = new Identities; // used by entries until the process ends
    return *instance;
}

} // namespace

HotKeyData::HotKeyData(Tag /*unused*/, std::shared_ptr<KeyCombo> combo, QObject *target, QByteArray action)
    : mCombo(std::move(combo)), mTarget(target), mAction(std::move(action))
{
}

HotKeyData::~HotKeyData()
{
    Identities &all = identities();
    const std::lock_guard lock(all.mutex);
    all.entries.remove(identity_);
}

std::shared_ptr<HotKeyData> HotKeyData::make(std::shared_ptr<KeyCombo> combo, QObject *target, QByteArray action)
{
    auto entry = std::make_shared<HotKeyData>(Tag{}, std::move(combo), target, std::move(action));
    Identities &all = identities();
    const std::lock_guard lock(all.mutex);
    while (all.next == 0 || all.entries.contains(all.next))
        ++all.next; // wraps after 2^32 entries; 0 is never an identity
    entry->identity_ = all.next++;
    all.entries.insert(entry->identity_, entry);
    return entry;
}

std::shared_ptr<HotKeyData> HotKeyData::withIdentity(uint32_t identity)
{
    Identities &all = identities();
    const std::lock_guard lock(all.mutex);
    return all.entries.value(identity).lock();
}

} // namespace rk
