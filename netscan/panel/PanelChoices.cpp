#include "netscan/panel/PanelChoices.h"

#include <algorithm>
#include <utility>

namespace trigora {

namespace {

const Value left; ///< to the application

Value pixelDataType(std::uint8_t imageType) {
    switch (imageType) {
    case 1:
    case 2:
        return int{imageType};
    case 3:
        return -1;
    default:
        return 0;
    }
}

Value resolution(std::uint8_t code) {
    switch (code) {
    case 1:
        return 300;
    case 2:
        return 600;
    case 3:
        return left;
    default:
        return 200;
    }
}

Value functionalUnitType(std::uint8_t scanningDevice) {
    switch (scanningDevice) {
    case 0:
        return 0;
    case 3:
        return -1;
    default:
        return 3;
    }
}

Value duplexScanningEnabled(std::uint8_t scanningDevice) {
    switch (scanningDevice) {
    case 1:
        return false;
    case 2:
        return true;
    default:
        return left;
    }
}

Value documentType(std::uint8_t documentSize) {
    constexpr std::pair<std::uint8_t, int> types[] = {{0, 1},  {1, 3},  {2, 4},  {3, 5},   {4, 2},    {5, 9},
                                                      {6, 38}, {7, 11}, {8, 13}, {13, 53}, {15, 1000}};
    const auto* found = std::find_if(std::begin(types), std::end(types),
                                     [&](const auto& row) { return row.first == documentSize; });
    return found == std::end(types) ? -1 : found->second;
}

Value imageUTType(std::uint8_t saveFormat) {
    switch (saveFormat) {
    case 0:
        return "public.jpeg";
    case 1:
    case 4:
        return "public.tiff";
    case 3:
        return left;
    case 5:
        return "public.png";
    case 6:
        return "com.microsoft.word.doc";
    case 7:
        return "com.microsoft.excel.xls";
    case 8:
        return "com.microsoft.powerpoint.ppt";
    default:
        return "com.adobe.pdf";
    }
}

Dictionary formatSetting(std::uint8_t saveFormat) {
    switch (saveFormat) {
    case 1:
        return {{"savesAsOneFile", false}};
    case 4:
        return {{"savesAsOneFile", true}};
    default:
        return {};
    }
}

} // namespace

Dictionary optionsForChoices(const stRecvJobData& choices, std::int32_t timeout, const PanelJobFlags& flags) {
    const Dictionary scanSetting = {
        {"pixelDataType", pixelDataType(choices.ucImageType)},
        {"resolution", resolution(choices.ucResolution)},
        {"functionalUnitType", functionalUnitType(choices.ucScanningDevice)},
        {"duplexScanningEnabled", duplexScanningEnabled(choices.ucScanningDevice)},
        {"documentType", documentType(choices.ucDocumentSize)},
        {"landscapeEnabled", choices.ucDocumentOrientation == 1 ? 1 : 0}};
    const Dictionary saveSetting = {{"imageUTType", imageUTType(choices.ucSaveFormat)},
                                    {"formatSetting", formatSetting(choices.ucSaveFormat)}};
    return {{"jobSetting", Dictionary{{"scanSetting", scanSetting}, {"saveSetting", saveSetting}}},
            {"timeout", timeout},
            {"continue", flags.isConituneScanningAvailable() ? 1 : 0},
            {"errorRecovery", flags.isErrorRecoveryAvailable() ? 1 : 0}};
}

} // namespace trigora
