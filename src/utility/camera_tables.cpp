// Camera-model and lens data of the utility module, and the exported
// predicates over them.
//
// The tables hold only data confirmed for the host's models and lenses; an ID
// without a row gets the neutral answer (model 0, false, no projection). To add
// rows, turn a table into e.g.
//     constexpr auto kModelCameras = std::to_array<ModelCameraRow>({{modelID, cameraID}, ...});
#include "utility/camera_tables.h"

#include <algorithm>
#include <array>

namespace lumo {
namespace {

constexpr std::array<ModelCameraRow, 0> kModelCameras{};
constexpr std::array<ModelTraitRow, 0> kModelTraits{};
constexpr std::array<FisheyeLensRow, 0> kFisheyeLenses{};

template <class Row, class Key, class Field>
const Row* FindFirst(std::span<const Row> rows, Key key, Field field) {
    const auto it = std::find_if(rows.begin(), rows.end(), [&](const Row& row) { return row.*field == key; });
    return it == rows.end() ? nullptr : &*it;
}

}  // namespace

std::span<const ModelCameraRow> ModelCameraTable() { return kModelCameras; }
std::span<const ModelTraitRow> ModelTraitTable() { return kModelTraits; }
std::span<const FisheyeLensRow> FisheyeLensTable() { return kFisheyeLenses; }

const ModelCameraRow* FindCamera(std::span<const ModelCameraRow> rows, uint16_t cameraID) {
    return FindFirst(rows, cameraID, &ModelCameraRow::cameraID);
}

const ModelTraitRow* FindModel(std::span<const ModelTraitRow> rows, uint32_t modelID) {
    return FindFirst(rows, modelID, &ModelTraitRow::modelID);
}

const FisheyeLensRow* FindLens(std::span<const FisheyeLensRow> rows, uint32_t lensID) {
    return FindFirst(rows, lensID, &FisheyeLensRow::lensID);
}

uint32_t ModelIDForCamera(uint16_t cameraID) {
    const ModelCameraRow* row = FindCamera(ModelCameraTable(), cameraID);
    return row == nullptr ? 0u : row->modelID;
}

}  // namespace lumo

bool __isWpEngineModel(uint32_t modelID) {
    const lumo::ModelTraitRow* row = lumo::FindModel(lumo::ModelTraitTable(), modelID);
    return row != nullptr && row->wpEngine;
}

bool __isKiteMLModel(uint32_t modelID) {
    const lumo::ModelTraitRow* row = lumo::FindModel(lumo::ModelTraitTable(), modelID);
    return row != nullptr && row->kiteML;
}

LumoProjectionType __getFisheyeProjectionType(uint32_t lensID) {
    const lumo::FisheyeLensRow* row = lumo::FindLens(lumo::FisheyeLensTable(), lensID);
    return row == nullptr ? kLumoProjectionTypeNone : row->projection;
}

bool __isFisheye(uint32_t lensID) { return lumo::FindLens(lumo::FisheyeLensTable(), lensID) != nullptr; }

bool __isOldFisheyeLens(uint32_t lensID) {
    const lumo::FisheyeLensRow* row = lumo::FindLens(lumo::FisheyeLensTable(), lensID);
    return row != nullptr && row->old;
}
