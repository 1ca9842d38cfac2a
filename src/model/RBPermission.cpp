#include <rkcore/RBPermission.h>

#include <cstdlib>
#include <memory>

namespace rk {

namespace {

// Record field indexes, as rpf_toggle_permission numbers them.
enum Field : int {
    UserRead = 0,
    UserWrite,
    UserExecute,
    GroupRead,
    GroupWrite,
    GroupExecute,
    WorldRead,
    WorldWrite,
    WorldExecute
};

struct FreeDeleter {
    void operator()(char *text) const { std::free(text); } // NOLINT(cppcoreguidelines-no-malloc)
};

} // namespace

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
    const std::unique_ptr<char, FreeDeleter> text(rpf_permissions_octal_to_string(octal));
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
    toggle(UserRead);
}
void RBPermission::toggleUserWrite()
{
    toggle(UserWrite);
}
void RBPermission::toggleUserExecute()
{
    toggle(UserExecute);
}
void RBPermission::toggleGroupRead()
{
    toggle(GroupRead);
}
void RBPermission::toggleGroupWrite()
{
    toggle(GroupWrite);
}
void RBPermission::toggleGroupExecute()
{
    toggle(GroupExecute);
}
void RBPermission::toggleWorldRead()
{
    toggle(WorldRead);
}
void RBPermission::toggleWorldWrite()
{
    toggle(WorldWrite);
}
void RBPermission::toggleWorldExecute()
{
    toggle(WorldExecute);
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
    return check(UserRead);
}
bool RBPermission::userCanWrite() const
{
    return check(UserWrite);
}
bool RBPermission::userCanExecute() const
{
    return check(UserExecute);
}
bool RBPermission::groupCanRead() const
{
    return check(GroupRead);
}
bool RBPermission::groupCanWrite() const
{
    return check(GroupWrite);
}
bool RBPermission::groupCanExecute() const
{
    return check(GroupExecute);
}
bool RBPermission::worldCanRead() const
{
    return check(WorldRead);
}
bool RBPermission::worldCanWrite() const
{
    return check(WorldWrite);
}
bool RBPermission::worldCanExecute() const
{
    return check(WorldExecute);
}

} // namespace rk
