#include <rkcore/RBAlias.h>

#include <QFile>

#include <utility>

#include "AliasRecord_p.h"

namespace rk {

std::shared_ptr<RBAlias> RBAlias::initWithPath(const QString &path)
{
    if (path.isEmpty()) return nullptr;
    const QByteArray encoded = QFile::encodeName(path);
    const std::optional<alias::AliasRecord> record = alias::makeRecord(encoded.toStdString());
    if (!record) return nullptr;
    const std::string bytes = alias::encode(*record);
    return std::make_shared<RBAlias>(Tag{}, QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())));
}

std::shared_ptr<RBAlias> RBAlias::initWithData(const QByteArray &data)
{
    if (data.isNull()) return nullptr;
    return std::make_shared<RBAlias>(Tag{}, data);
}

RBAlias::RBAlias(Tag, QByteArray data) : alias(std::move(data)) {}

QString RBAlias::path() const
{
    const auto record =
        alias::decode(reinterpret_cast<const uint8_t *>(alias.constData()), static_cast<size_t>(alias.size()));
    if (!record) return {};
    const std::optional<std::string> resolved = alias::resolve(*record);
    if (!resolved) return {};
    return QFile::decodeName(QByteArray(resolved->data(), static_cast<qsizetype>(resolved->size())));
}

} // namespace rk
