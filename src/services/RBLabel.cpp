#include <rkcore/RBLabel.h>

#include <rkcore/FrameworkResources.h>

#include <utility>

namespace rk {

std::shared_ptr<RBLabel> RBLabel::initWithName(const QString &name, RGBColor color, int16_t labelID)
{
    return std::make_shared<RBLabel>(Tag{}, name, color, labelID);
}

RBLabel::RBLabel(Tag, QString name, RGBColor color, int16_t id)
    : labelName(std::move(name)), labelColor(color), labelID(id)
{
}

QImage RBLabel::colorSwatch() const
{
    if (labelID == 0) return {};
    const QString path = frameworkResourcePath(QStringLiteral("l%1.png").arg(labelID));
    if (path.isNull()) return {};
    return QImage(path, "PNG");
}

} // namespace rk
