#include <rkcore/RBPermission.h>
#include <rkcore/rpf_memory.h>
#include <rkcore/rpf_perms.h>

namespace rk {

RBPermission::RBPermission(Tag /*unused*/, rpf_perms *perms) : _perms(perms)
{
    (void)_permissionValue;
}

RBPermission::~RBPermission()
{
    std::free(_perms); // NOLINT(cppcoreguidelines-no-malloc)
}

std::shared_ptr<RBPermission> RBPermission::initWithNumber(int32_t octal)
{
    rpf_perms *perms = rpf_permissions_octal_to_perms(octal);
    if (perms == nullptr) return nullptr;
    return std::make_shared<RBPermission>(Tag{}, perms);
}

std::shared_ptr<RBPermission> RBPermission::initWithString(const QString &text)
{
    return initWithNumber(stringToOctal(text));
}

std::shared_ptr<RBPermission> RBPermission::copy() const
{
    std::shared_ptr<RBPermission> other = initWithNumber(intValue());
    if (!other) return nullptr;
    if (stickyBit) other->toggleStickyBit();
    if (suidBit) other->toggleSuidBit();
    if (sgidBit) other->toggleSgidBit();
    return other;
}

int32_t RBPermission::intValue() const
{
    return rpf_permissions_perms_to_octal(_perms);
}

QVariant RBPermission::numberValue() const
{
    return QVariant(static_cast<int>(intValue()));
}

QString RBPermission::stringValue() const
{
    return octalToString(intValue());
}

QString RBPermission::octalToString(int32_t octal)
{
    const rpf::Text text(rpf_permissions_octal_to_string(octal));
    return text ? QString::fromLatin1(text.get()) : QString();
}

int32_t RBPermission::stringToOctal(const QString &text)
{
    // One byte per character, so that the positions the core reads are the
    // text's own character positions.
    const QByteArray bytes = text.toLatin1();
    return rpf_permissions_string_to_octal(bytes.constData());
}

void RBPermission::toggle(int index)
{
    rpf_toggle_permission(index, _perms);
}

bool RBPermission::check(int index) const
{
    return rpf_check_for_permission(index, _perms) != 0;
}

void RBPermission::toggleStickyBit()
{
    stickyBit = !stickyBit;
}
void RBPermission::toggleSuidBit()
{
    suidBit = !suidBit;
}
void RBPermission::toggleSgidBit()
{
    sgidBit = !sgidBit;
}
void RBPermission::toggleUserRead()
{
    toggle(RPF_PERM_USER_READ);
}
void RBPermission::toggleUserWrite()
{
    toggle(RPF_PERM_USER_WRITE);
}
void RBPermission::toggleUserExecute()
{
    toggle(RPF_PERM_USER_EXECUTE);
}
void RBPermission::toggleGroupRead()
{
    toggle(RPF_PERM_GROUP_READ);
}
void RBPermission::toggleGroupWrite()
{
    toggle(RPF_PERM_GROUP_WRITE);
}
void RBPermission::toggleGroupExecute()
{
    toggle(RPF_PERM_GROUP_EXECUTE);
}
void RBPermission::toggleWorldRead()
{
    toggle(RPF_PERM_WORLD_READ);
}
void RBPermission::toggleWorldWrite()
{
    toggle(RPF_PERM_WORLD_WRITE);
}
void RBPermission::toggleWorldExecute()
{
    toggle(RPF_PERM_WORLD_EXECUTE);
}

bool RBPermission::hasStickyBit() const
{
    return stickyBit;
}
bool RBPermission::hasSuidBit() const
{
    return suidBit;
}
bool RBPermission::hasSgidBit() const
{
    return sgidBit;
}
bool RBPermission::userCanRead() const
{
    return check(RPF_PERM_USER_READ);
}
bool RBPermission::userCanWrite() const
{
    return check(RPF_PERM_USER_WRITE);
}
bool RBPermission::userCanExecute() const
{
    return check(RPF_PERM_USER_EXECUTE);
}
bool RBPermission::groupCanRead() const
{
    return check(RPF_PERM_GROUP_READ);
}
bool RBPermission::groupCanWrite() const
{
    return check(RPF_PERM_GROUP_WRITE);
}
bool RBPermission::groupCanExecute() const
{
    return check(RPF_PERM_GROUP_EXECUTE);
}
bool RBPermission::worldCanRead() const
{
    return check(RPF_PERM_WORLD_READ);
}
bool RBPermission::worldCanWrite() const
{
    return check(RPF_PERM_WORLD_WRITE);
}
bool RBPermission::worldCanExecute() const
{
    return check(RPF_PERM_WORLD_EXECUTE);
}

} // namespace rk
