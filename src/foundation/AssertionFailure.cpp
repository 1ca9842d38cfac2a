#include <rkcore/AssertionFailure.h>

#include <rkcore/Logging.h>

#include <utility>

namespace rk {

AssertionFailure::AssertionFailure(QString method, const void *object, QString file, int line, QString description)
    : std::logic_error(description.toStdString()), m_method(std::move(method)), m_object(object),
      m_file(std::move(file)), m_line(line), m_description(std::move(description))
{
}

void assertionFailed(const QString &method, const void *object, const QString &file, int line,
                     const QString &description)
{
    qCCritical(rkcoreLog).noquote() << QStringLiteral("*** Assertion failure in %1, %2:%3").arg(method, file).arg(line);
    throw AssertionFailure(method, object, file, line, description);
}

QString invalidParameterDescription(const char *condition)
{
    return QStringLiteral("Invalid parameter not satisfying: %1").arg(QString::fromUtf8(condition));
}

} // namespace rk
