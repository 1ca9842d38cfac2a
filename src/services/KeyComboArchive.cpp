#include "KeyComboArchive_p.h"

#include <QDataStream>
#include <QIODevice>

namespace rk::detail {

namespace {
// The archive must read the same under every later Qt: pin the stream version.
constexpr QDataStream::Version kStreamVersion = QDataStream::Qt_6_0;
constexpr qsizetype kArchiveSize = 6;
} // namespace

QByteArray encodeKeyComboArchive(KeyComboValue value)
{
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    stream.setVersion(kStreamVersion);
    stream << qint16(value.keyCode) << qint32(value.modifiers);
    return data;
}

std::optional<KeyComboValue> decodeKeyComboArchive(const QByteArray &data)
{
    if (data.size() != kArchiveSize) return std::nullopt;
    QDataStream stream(data);
    stream.setVersion(kStreamVersion);
    qint16 keyCode = 0;
    qint32 modifiers = 0;
    stream >> keyCode >> modifiers;
    if (stream.status() != QDataStream::Ok) return std::nullopt;
    return KeyComboValue{keyCode, modifiers};
}

} // namespace rk::detail
