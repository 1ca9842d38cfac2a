#include <rkcore/FrameworkResources.h>
#include <rkcore/RBLabelManager.h>

#include <gtest/gtest.h>

#include <QTemporaryDir>

using rk::RBLabelManager;

// The eight labels in the Finder's menu order, and lookups by index.
TEST(RBLabelManager, EightLabelsInMenuOrder)
{
    const RBLabelManager &manager = RBLabelManager::sharedLabelManager();
    EXPECT_EQ(&manager, &RBLabelManager::sharedLabelManager());
    struct Row {
        int16_t id;
        const char *name;
    };
    const Row menu[] = {{0, "None"},  {6, "Red"},  {7, "Orange"}, {5, "Yellow"},
                        {2, "Green"}, {4, "Blue"}, {3, "Purple"}, {1, "Gray"}};
    const auto labels = manager.labelArray();
    ASSERT_EQ(labels.size(), 8);
    for (qsizetype i = 0; i < labels.size(); ++i) {
        EXPECT_EQ(labels.at(i)->id(), menu[i].id) << "position " << i;
        EXPECT_EQ(labels.at(i)->description(), QLatin1String(menu[i].name)) << "position " << i;
        EXPECT_EQ(manager.labelWithID(static_cast<uint16_t>(menu[i].id)), labels.at(i));
    }
    EXPECT_EQ(manager.noneLabel(), labels.first());
    EXPECT_EQ(manager.labelWithID(0)->description(), QStringLiteral("None"));
    for (const uint16_t missing : {uint16_t{8}, uint16_t{255}, uint16_t{0xFFFF}}) {
        EXPECT_EQ(manager.labelWithID(missing), nullptr) << missing;
    }
    EXPECT_EQ(RBLabelManager().labelArray().size(), 8) << "a manager of its own loads the same table";
}

// Swatches: none for None; for 1-7 a small picture whose middle shows the
// label's own colour, each colour different.
TEST(RBLabel, SwatchesShowTheLabelColour)
{
    const RBLabelManager &manager = RBLabelManager::sharedLabelManager();
    EXPECT_TRUE(manager.noneLabel()->colorSwatch().isNull());
    QList<QRgb> middles;
    for (uint16_t id = 1; id <= 7; ++id) {
        const auto label = manager.labelWithID(id);
        const QImage swatch = label->colorSwatch();
        ASSERT_FALSE(swatch.isNull()) << "l" << id << ".png";
        EXPECT_EQ(swatch.size(), QSize(16, 16));
        EXPECT_EQ(qAlpha(swatch.pixel(0, 0)), 0) << "transparent corner";
        // The lower middle is the plain colour; allow for the gradient's end.
        const QColor middle = swatch.pixelColor(8, 12);
        const rk::RGBColor want = label->color();
        EXPECT_NEAR(middle.red(), want.red >> 8, 24) << id;
        EXPECT_NEAR(middle.green(), want.green >> 8, 24) << id;
        EXPECT_NEAR(middle.blue(), want.blue >> 8, 24) << id;
        EXPECT_FALSE(middles.contains(middle.rgb())) << id;
        middles << middle.rgb();
    }
    // A resource folder without the swatches: no image, no failure.
    QTemporaryDir empty;
    rk::setFrameworkResourceDirectory(empty.path());
    EXPECT_TRUE(manager.labelWithID(6)->colorSwatch().isNull());
    rk::setFrameworkResourceDirectory({});
    EXPECT_FALSE(manager.labelWithID(6)->colorSwatch().isNull());
}
