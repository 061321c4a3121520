#include "chipmodel.h"

namespace {

constexpr RegisterWrite c0Patch{0xC0A7, 0x00};

constexpr ChipModel models[] = {
    {12, 2, "AV6x01", "AV6xx1", "C0", 0xC44A, 0xC764, 0xC060, {0xF0E2, 0x0A}, c0Patch},
    {12, 3, "AV6x01", "AV6xx1", "D0", 0xC42D, 0xD312, 0xC060, {0xF0E2, 0x0A}, std::nullopt},
    {13, 2, "AV6x02", "AV6xx2", "C0", 0xC451, 0xC771, 0xB0A0, {0xF0E1, 0xA0}, c0Patch},
    {13, 3, "AV6x02", "AV6xx2", "D0", 0xB53A, 0xBB5C, 0xB0A0, {0xF0E1, 0xA0}, std::nullopt},
};

} // namespace

const ChipModel* findChipModel(int id, std::optional<int> revision)
{
    for (const ChipModel& model : models) {
        if (model.id == id && model.revision == revision.value_or(model.revision))
            return &model;
    }
    return nullptr;
}
