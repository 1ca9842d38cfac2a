// RBPermission: a file's access rights as an object: the nine rights of an
// rpf_perms record (rkcore/rpf_perms.h) plus the setuid, setgid and sticky
// flags, which the record cannot hold. The flags are independent of the
// record: no conversion reads or writes them; creators that know them toggle
// them on after creation.
//
// Ownership: made by the factories, held in std::shared_ptr; the object owns
// its record. Thread: not synchronised (see Conventions.h).
#pragma once

#include <QString>
#include <QVariant>

#include <cstdint>
#include <memory>

#include <rkcore/Conventions.h>
#include <rkcore/rpf_perms.h>

namespace rk {

class RKCORE_EXPORT RBPermission final {
    struct Tag {};

public:
    // From an octal value (a decimal-looking integer such as 755, read as
    // rpf_permissions_octal_to_perms reads it); the three flags cleared.
    // nullptr only when memory is exhausted.
    static std::shared_ptr<RBPermission> initWithNumber(int32_t octal);

    // From the ten-character listing text ("-rwxr-xr-x"), through
    // stringToOctal; the three flags cleared. A text of nine characters or
    // fewer reads as -1, so the object has only worldCanExecute set (the text
    // forms are deliberately not symmetric: stringValue gives nine characters).
    static std::shared_ptr<RBPermission> initWithString(const QString &text);

    // A new object with the same intValue and the same three flags.
    std::shared_ptr<RBPermission> copy() const;

    // The octal value of the nine rights (755 for rwxr-xr-x).
    int32_t intValue() const;
    // intValue as a QVariant holding an int.
    QVariant numberValue() const;
    // The nine-character text ("rwxr-xr-x") of intValue: no type character and
    // no mark of the three flags; shorter when intValue has fewer than three
    // digits (44 gives "---r--r--", 7 gives "rwx").
    QString stringValue() const;

    // rpf_permissions_octal_to_string as a QString.
    static QString octalToString(int32_t octal);
    // rpf_permissions_string_to_octal of the text's characters (Latin-1; a
    // character outside Latin-1 counts as no right): -1 for a text of nine
    // characters or fewer.
    static int32_t stringToOctal(const QString &text);

    void toggleStickyBit();
    void toggleSuidBit();
    void toggleSgidBit();
    void toggleUserRead();
    void toggleUserWrite();
    void toggleUserExecute();
    void toggleGroupRead();
    void toggleGroupWrite();
    void toggleGroupExecute();
    void toggleWorldRead();
    void toggleWorldWrite();
    void toggleWorldExecute();

    bool hasStickyBit() const;
    bool hasSuidBit() const;
    bool hasSgidBit() const;
    bool userCanRead() const;
    bool userCanWrite() const;
    bool userCanExecute() const;
    bool groupCanRead() const;
    bool groupCanWrite() const;
    bool groupCanExecute() const;
    bool worldCanRead() const;
    bool worldCanWrite() const;
    bool worldCanExecute() const;

    RBPermission(Tag, rpf_perms *perms);
    ~RBPermission();
    RBPermission(const RBPermission &) = delete;
    RBPermission &operator=(const RBPermission &) = delete;

private:
    void toggle(int index);
    bool check(int index) const;

    int32_t _permissionValue = 0; // declared for layout fidelity; never set or read
    rpf_perms *_perms;            // owned
    bool stickyBit = false;
    bool suidBit = false;
    bool sgidBit = false;
};

} // namespace rk
