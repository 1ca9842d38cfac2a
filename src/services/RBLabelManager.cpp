#include <rkcore/RBLabelManager.h>

#include <array>
#include <utility>

namespace rk {

namespace {

// The system's label table, by index: the Finder's default names and colours.
struct SystemLabel {
    const char *name = nullptr;
    RGBColor color;
};

constexpr uint16_t wide(int channel)
{
    return static_cast<uint16_t>(channel * 257); // 0-255 spread over 0-65535
}

constexpr std::array<SystemLabel, 8> kSystemLabels{{
    {"None", {0, 0, 0}},
    {"Gray", {wide(168), wide(168), wide(168)}},
    {"Green", {wide(176), wide(220), wide(82)}},
    {"Purple", {wide(192), wide(140), wide(220)}},
    {"Blue", {wide(94), wide(168), wide(244)}},
    {"Yellow", {wide(244), wide(226), wide(84)}},
    {"Red", {wide(252), wide(96), wide(88)}},
    {"Orange", {wide(250), wide(166), wide(70)}},
}};

// Positions in the loaded list, in the order of the Finder's label menu.
constexpr std::array<int, 8> kMenuOrder{0, 6, 7, 5, 2, 4, 3, 1};

} // namespace

RBLabelManager &RBLabelManager::sharedLabelManager()
{
    static RBLabelManager shared;
    return shared;
}

RBLabelManager::RBLabelManager()
{
    _loadSystemLabels();
}

void RBLabelManager::_loadSystemLabels()
{
    QList<std::shared_ptr<RBLabel>> loaded;
    for (int16_t index = 0; index < static_cast<int16_t>(kSystemLabels.size()); ++index) {
        const SystemLabel &label = kSystemLabels.at(static_cast<size_t>(index));
        loaded.append(RBLabel::initWithName(QString::fromLatin1(label.name), label.color, index));
    }
    QList<std::shared_ptr<RBLabel>> ordered;
    for (const int position : kMenuOrder)
        ordered.append(loaded.at(position));
    setLabelArray(std::move(ordered));
}

void RBLabelManager::setLabelArray(QList<std::shared_ptr<RBLabel>> labels)
{
    m_labelArray = std::move(labels);
}

std::shared_ptr<RBLabel> RBLabelManager::labelWithID(uint16_t labelID) const
{
    for (const std::shared_ptr<RBLabel> &label : m_labelArray) {
        if (label && static_cast<uint16_t>(label->id()) == labelID) return label;
    }
    return nullptr;
}

std::shared_ptr<RBLabel> RBLabelManager::noneLabel() const
{
    return m_labelArray.isEmpty() ? nullptr : m_labelArray.first();
}

} // namespace rk
