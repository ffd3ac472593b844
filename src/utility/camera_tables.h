// The constant camera-model and lens tables of the utility module and their
// lookups. Tables are searched from the first row; the first match wins, so
// an ID listed twice answers with its earlier row.
#pragma once

#include <cstdint>
#include <span>

#include "lumomath/LumoUtility.h"

namespace lumo {

/// A camera model and the small camera ID the host knows it by.
struct ModelCameraRow {
    uint32_t modelID;
    uint16_t cameraID;
};

/// What the development needs to know about a model.
struct ModelTraitRow {
    uint32_t modelID;
    bool wpEngine;
    bool kiteML;
};

/// A fisheye lens and its projection.
struct FisheyeLensRow {
    uint32_t lensID;
    LumoProjectionType projection;
    bool old;
};

/// The shipped tables.
std::span<const ModelCameraRow> ModelCameraTable();
std::span<const ModelTraitRow> ModelTraitTable();
std::span<const FisheyeLensRow> FisheyeLensTable();

/// The first row of `rows` with `cameraID`, or null.
const ModelCameraRow* FindCamera(std::span<const ModelCameraRow> rows, uint16_t cameraID);
/// The first row of `rows` with `modelID`, or null.
const ModelTraitRow* FindModel(std::span<const ModelTraitRow> rows, uint32_t modelID);
/// The first row of `rows` with `lensID`, or null.
const FisheyeLensRow* FindLens(std::span<const FisheyeLensRow> rows, uint32_t lensID);

/// The model paired with `cameraID` in the shipped table; 0 when it has no row.
uint32_t ModelIDForCamera(uint16_t cameraID);

}  // namespace lumo
