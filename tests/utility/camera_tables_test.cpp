#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "lumomath/LumoUtility.h"
#include "utility/camera_tables.h"

namespace {

TEST(CameraTables, IDsWithoutARowGetTheNeutralAnswers) {
    for (uint32_t id : {0u, 1u, 53u, 100u, 0xFFFFu, 0xFFFFFFFFu}) {
        SCOPED_TRACE(id);
        EXPECT_EQ(lumo::ModelIDForCamera(static_cast<uint16_t>(id)), 0u);
        EXPECT_FALSE(__isWpEngineModel(id) || __isKiteMLModel(id) || __isFisheye(id) || __isOldFisheyeLens(id));
        EXPECT_EQ(__getFisheyeProjectionType(id), kLumoProjectionTypeNone);
    }
}

TEST(CameraTables, SearchStartsAtTheFirstRowAndTheFirstMatchWins) {
    const std::array<lumo::ModelCameraRow, 4> cameras{{{0x100, 7}, {0x200, 9}, {0x300, 7}, {0x400, 0}}};
    EXPECT_EQ(lumo::FindCamera(cameras, 7), &cameras[0]);
    EXPECT_EQ(lumo::FindCamera(cameras, 0), &cameras[3]);
    EXPECT_EQ(lumo::FindCamera(cameras, 8), nullptr);
    EXPECT_EQ(lumo::FindCamera({}, 7), nullptr);
    const std::array<lumo::ModelTraitRow, 2> models{{{0x100, true, false}, {0x100, false, true}}};
    EXPECT_EQ(lumo::FindModel(models, 0x100), &models[0]);
    EXPECT_EQ(lumo::FindModel(models, 0x101), nullptr);
    const std::array<lumo::FisheyeLensRow, 2> lenses{
        {{42, static_cast<LumoProjectionType>(3), true}, {42, static_cast<LumoProjectionType>(1), false}}};
    EXPECT_EQ(lumo::FindLens(lenses, 42), &lenses[0]);
    EXPECT_EQ(lumo::FindLens(lenses, 43), nullptr);
}

}  // namespace
