// A size record and its texts.
#include <rkcore/RBFileSystemObjectSize.h>
#include <rkcore/rpf_memory.h>
#include <rkcore/rpf_size.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace rk {

namespace {

// The core's unit text of `value` ("1.5KB"); empty when memory ran out.
QString unitText(uint64_t value)
{
    const rpf::Text text(_format_size(static_cast<uint32_t>(value & 0xffffffffU), static_cast<uint32_t>(value >> 32U)));
    return text ? QString::fromUtf8(text.get()) : QString();
}

QString onDiskText(uint64_t physical, uint64_t logical)
{
    return QStringLiteral("%1 on disk. ( %2 bytes )")
        .arg(unitText(physical), RBFileSystemObjectSize::_commaDelimitedSize(logical));
}

} // namespace

std::shared_ptr<RBFileSystemObjectSize>
RBFileSystemObjectSize::initWithLocalFileSize(std::unique_ptr<RBSizeRecord> record)
{
    if (!record) return nullptr;
    return std::make_shared<RBFileSystemObjectSize>(Tag{}, std::move(record), std::nullopt);
}

std::shared_ptr<RBFileSystemObjectSize>
RBFileSystemObjectSize::initWithLocalFileSize(std::unique_ptr<RBSizeRecord> record, const RBFolderWalkExtras &extras)
{
    if (!record) return nullptr;
    return std::make_shared<RBFileSystemObjectSize>(Tag{}, std::move(record), extras);
}

RBFileSystemObjectSize::RBFileSystemObjectSize(Tag, std::unique_ptr<RBSizeRecord> record,
                                               std::optional<RBFolderWalkExtras> extras)
    : myFSOSize(std::move(record)), extras_(std::move(extras))
{
}

RBFileSystemObjectSize::~RBFileSystemObjectSize() = default;

uint64_t RBFileSystemObjectSize::counter(int index) const
{
    if (index < 0 || index >= kRBSizeCounterCount) return 0;
    return (*myFSOSize)[index];
}

uint64_t RBFileSystemObjectSize::dataForkSize() const
{
    return counter(kRBSizeDataFork);
}

uint64_t RBFileSystemObjectSize::physicalDataForkSize() const
{
    return counter(kRBSizeDataForkPhysical);
}

uint64_t RBFileSystemObjectSize::resourceForkSize() const
{
    return counter(kRBSizeResourceFork);
}

uint64_t RBFileSystemObjectSize::physicalResourceForkSize() const
{
    return counter(kRBSizeResourceForkPhysical);
}

uint64_t RBFileSystemObjectSize::totalSize() const
{
    return counter(kRBSizeTotal);
}

uint64_t RBFileSystemObjectSize::physicalTotalSize() const
{
    return counter(kRBSizePhysicalTotal);
}

uint64_t RBFileSystemObjectSize::containedItemCount() const
{
    return counter(kRBSizeContainedItems);
}

QString RBFileSystemObjectSize::formattedStringForKey(int32_t key) const
{
    // Keys 0-3 are counters 0-3; keys 4 and 5 skip the available-bytes counter.
    static constexpr std::array<int, 6> counterOfKey{kRBSizeDataFork,     kRBSizeDataForkPhysical,
                                                     kRBSizeResourceFork, kRBSizeResourceForkPhysical,
                                                     kRBSizeTotal,        kRBSizePhysicalTotal};
    if (key < 0 || key >= static_cast<int32_t>(counterOfKey.size())) return QStringLiteral("Unknown Key");
    return unitText(counter(counterOfKey.at(static_cast<size_t>(key))));
}

QString RBFileSystemObjectSize::dataGetInfoString() const
{
    return onDiskText(counter(kRBSizeDataForkPhysical), counter(kRBSizeDataFork));
}

QString RBFileSystemObjectSize::resourceGetInfoString() const
{
    return onDiskText(counter(kRBSizeResourceForkPhysical), counter(kRBSizeResourceFork));
}

QString RBFileSystemObjectSize::totalSizeGetInfoString() const
{
    return onDiskText(counter(kRBSizePhysicalTotal), counter(kRBSizeTotal));
}

QString RBFileSystemObjectSize::capacityGetInfoString() const
{
    return unitText(counter(kRBSizeTotal));
}

QString RBFileSystemObjectSize::availableGetInfoString() const
{
    return unitText(counter(kRBSizeAvailable));
}

QString RBFileSystemObjectSize::usedGetInfoString() const
{
    return unitText(counter(kRBSizeTotal) - counter(kRBSizeAvailable));
}

QString RBFileSystemObjectSize::containsGetInfo() const
{
    const uint64_t folders = counter(kRBSizeFolders);
    const uint64_t files = counter(kRBSizeFiles);
    if (folders == 0 && files == 0) return QStringLiteral("No items");
    return QStringLiteral("%1 Files. %2 Folders. ( %3 hidden )")
        .arg(_commaDelimitedSize(files), _commaDelimitedSize(folders), _commaDelimitedSize(counter(kRBSizeHidden)));
}

QString RBFileSystemObjectSize::_commaDelimitedSize(uint64_t value)
{
    std::array<char, 255> digits{};
    const int length = std::snprintf(digits.data(), digits.size(), "%.0lf", static_cast<double>(value));
    if (length <= 0) return QString();
    QString grouped;
    grouped.reserve(length + length / 3);
    for (int i = 0; i < length; ++i) {
        if (i > 0 && (length - i) % 3 == 0) grouped.append(QLatin1Char(','));
        grouped.append(QLatin1Char(digits.at(static_cast<size_t>(i))));
    }
    return grouped;
}

} // namespace rk
