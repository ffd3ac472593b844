#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "lumomath/LumoUtility.h"
#include "utility/camera_tables.h"

namespace {

TEST(CameraTables, ShippedTablesGiveTheNeutralAnswers) {
    for (uint32_t id : {0u, 1u, 53u, 100u, 0xFFFFu, 0xFFFFFFFFu}) {
        EXPECT_EQ(lumo::ModelIDForCamera(static_cast<uint16_t>(id)), 0u) << id;
        EXPECT_FALSE(__isWpEngineModel(id)) << id;
        EXPECT_FALSE(__isKiteMLModel(id)) << id;
        EXPECT_EQ(__getFisheyeProjectionType(id), kLumoProjectionTypeNone) << id;
        EXPECT_FALSE(__isFisheye(id)) << id;
        EXPECT_FALSE(__isOldFisheyeLens(id)) << id;
    }
}

TEST(CameraTables, SearchStartsAtTheFirstRowAndTheFirstMatchWins) {
    const std::array<lumo::ModelCameraRow, 4> cameras{{{0x100, 7}, {0x200, 9}, {0x300, 7}, {0x400, 0}}};
    ASSERT_NE(lumo::FindCamera(cameras, 7), nullptr);
    EXPECT_EQ(lumo::FindCamera(cameras, 7)->modelID, 0x100u);
    EXPECT_EQ(lumo::FindCamera(cameras, 0)->modelID, 0x400u);
    EXPECT_EQ(lumo::FindCamera(cameras, 8), nullptr);

    const std::array<lumo::ModelTraitRow, 2> models{{{0x100, true, false}, {0x100, false, true}}};
    EXPECT_TRUE(lumo::FindModel(models, 0x100)->wpEngine);
    EXPECT_EQ(lumo::FindModel(models, 0x101), nullptr);

    const std::array<lumo::FisheyeLensRow, 2> lenses{
        {{42, static_cast<LumoProjectionType>(3), true}, {42, static_cast<LumoProjectionType>(1), false}}};
    EXPECT_EQ(lumo::FindLens(lenses, 42)->projection, 3);
    EXPECT_EQ(lumo::FindLens(lenses, 43), nullptr);
    EXPECT_EQ(lumo::FindCamera({}, 7), nullptr);
}

}  // namespace
