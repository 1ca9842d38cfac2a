// Programming errors: a failed assertion throws rk::AssertionFailure carrying
// the method, the source file and line, and the description. Run-time failures
// never throw (see Conventions.h).
#pragma once

#include <QString>

#include <stdexcept>

#include <rkcore/Conventions.h>

namespace rk {

class RKCORE_EXPORT AssertionFailure : public std::logic_error {
public:
    // `file` and `line` name where the assertion stands; `method` the member
    // function that asserted; `object` the object it was called on (may be
    // null; identity only, never dereferenced).
    AssertionFailure(QString method, const void *object, QString file, int line, QString description);

    const QString &method() const noexcept { return m_method; }
    const void *object() const noexcept { return m_object; }
    const QString &file() const noexcept { return m_file; }
    int line() const noexcept { return m_line; }
    const QString &description() const noexcept { return m_description; }

private:
    QString m_method;
    const void *m_object;
    QString m_file;
    int m_line;
    QString m_description;
};

// Writes "*** Assertion failure in METHOD, FILE:LINE" to the rkcore category
// and throws AssertionFailure. For assertions whose file and line are fixed
// by contract rather than by where the code stands.
[[noreturn]] RKCORE_EXPORT void assertionFailed(const QString &method, const void *object, const QString &file,
                                                int line, const QString &description);

// The description of a failed parameter assertion:
// "Invalid parameter not satisfying: <condition>".
RKCORE_EXPORT QString invalidParameterDescription(const char *condition);

} // namespace rk

// Throws rk::AssertionFailure (this source file and line, the enclosing
// function) with `description` unless `condition` holds. `object` may be
// nullptr.
#define RK_ASSERT(condition, object, description)                                                                      \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            ::rk::assertionFailed(QString::fromUtf8(static_cast<const char *>(__func__)), (object),                    \
                                  QString::fromUtf8(__FILE__), __LINE__, (description));                               \
        }                                                                                                              \
    } while (false)

// As RK_ASSERT, with the description "Invalid parameter not satisfying: <condition>".
#define RK_PARAMETER_ASSERT(condition, object)                                                                         \
    RK_ASSERT(condition, object, ::rk::invalidParameterDescription(#condition))
