#include "simulators/scanners/ScanOptions.h"

#include "simulators/scanners/ScannerKind.h"

#include <algorithm>
#include <cmath>
#include <sane/saneopts.h>
#include <utility>

namespace trigora::simulators {

namespace {

constexpr SANE_Int settable = SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT;
constexpr double tableHeight = 297.0;
constexpr double feederHeight = 356.0;
constexpr double paperWidth = 216.0;
constexpr std::array<SANE_Word, 6> resolutions{5, 75, 100, 200, 300, 600}; // the first is their number
constexpr std::array<SANE_Word, 3> depths{2, 8, 16};
constexpr const char* table = "Flatbed";
constexpr const char* feeder = "Automatic Document Feeder";
constexpr const char* duplexFeeder = "ADF Duplex";
constexpr SANE_Int textSize = 129;

SANE_Word nearest(const SANE_Option_Descriptor& descriptor, SANE_Word word) {
    if (descriptor.constraint_type == SANE_CONSTRAINT_RANGE) {
        return std::clamp(word, descriptor.constraint.range->min, descriptor.constraint.range->max);
    }
    if (descriptor.constraint_type == SANE_CONSTRAINT_WORD_LIST) {
        const SANE_Word* list = descriptor.constraint.word_list;
        return *std::min_element(list + 1, list + 1 + list[0], [word](SANE_Word one, SANE_Word other) {
            return std::abs(std::int64_t{one} - word) < std::abs(std::int64_t{other} - word);
        });
    }
    return word;
}

bool offers(const SANE_Option_Descriptor& descriptor, const std::string& text) {
    const SANE_String_Const* offered = descriptor.constraint.string_list;
    while (*offered != nullptr && text != *offered) {
        ++offered;
    }
    return *offered != nullptr;
}

} // namespace

ScanOptions::ScanOptions(ScannerFile& scanner) {
    scanner.with([this](const ScannerState& state) {
        addScan(state);
        addSensors(state);
    });
    options_.front().word = static_cast<SANE_Word>(options_.size());
}

ScanOptions::Option& ScanOptions::add(std::string_view name, std::string_view title, SANE_Value_Type type,
                                      SANE_Int capabilities) {
    Option& option = options_.emplace_back();
    SANE_Option_Descriptor& descriptor = option.descriptor;
    descriptor.name = names_.emplace_back(name).c_str();
    descriptor.title = names_.emplace_back(title).c_str();
    descriptor.desc = descriptor.title;
    descriptor.type = type;
    const bool isWord = type == SANE_TYPE_BOOL || type == SANE_TYPE_INT || type == SANE_TYPE_FIXED;
    descriptor.size = isWord                     ? static_cast<SANE_Int>(sizeof(SANE_Word))
                      : type == SANE_TYPE_STRING ? textSize
                                                 : 0;
    descriptor.cap = capabilities;
    return option;
}

void ScanOptions::addTexts(Option& option, const std::vector<std::string>& texts) {
    std::vector<SANE_String_Const>& list = textLists_.emplace_back();
    for (const std::string& text : texts) {
        list.push_back(names_.emplace_back(text).c_str());
    }
    list.push_back(nullptr);
    option.descriptor.constraint_type = SANE_CONSTRAINT_STRING_LIST;
    option.descriptor.constraint.string_list = list.data();
    option.text = texts.front();
}

void ScanOptions::addScan(const ScannerState& state) {
    add(SANE_NAME_NUM_OPTIONS, SANE_TITLE_NUM_OPTIONS, SANE_TYPE_INT, SANE_CAP_SOFT_DETECT);
    add("", "Scan", SANE_TYPE_GROUP, 0);
    std::vector<std::string> sources;
    if (state.hasTable != 0) {
        sources.emplace_back(table);
    }
    if (state.hasFeeder != 0) {
        sources.emplace_back(feeder);
    }
    if (state.hasDuplex != 0) {
        sources.emplace_back(duplexFeeder);
    }
    if (!sources.empty()) {
        addTexts(add(SANE_NAME_SCAN_SOURCE, SANE_TITLE_SCAN_SOURCE, SANE_TYPE_STRING, settable), sources);
    }
    addTexts(add(SANE_NAME_SCAN_MODE, SANE_TITLE_SCAN_MODE, SANE_TYPE_STRING, settable),
             {SANE_VALUE_SCAN_MODE_LINEART, SANE_VALUE_SCAN_MODE_GRAY, SANE_VALUE_SCAN_MODE_COLOR});
    at(SANE_NAME_SCAN_MODE).text = SANE_VALUE_SCAN_MODE_GRAY;
    Option& depth = add(SANE_NAME_BIT_DEPTH, SANE_TITLE_BIT_DEPTH, SANE_TYPE_INT, settable);
    depth.descriptor.constraint_type = SANE_CONSTRAINT_WORD_LIST;
    depth.descriptor.constraint.word_list = depths.data();
    depth.word = depths[1];
    Option& resolution = add(SANE_NAME_SCAN_RESOLUTION, SANE_TITLE_SCAN_RESOLUTION, SANE_TYPE_INT, settable);
    resolution.descriptor.unit = SANE_UNIT_DPI;
    resolution.descriptor.constraint_type = SANE_CONSTRAINT_WORD_LIST;
    resolution.descriptor.constraint.word_list = resolutions.data();
    resolution.word = resolutions[1];
    width_.max = SANE_FIX(paperWidth);
    for (const char* name :
         {SANE_NAME_SCAN_TL_X, SANE_NAME_SCAN_TL_Y, SANE_NAME_SCAN_BR_X, SANE_NAME_SCAN_BR_Y}) {
        Option& edge = add(name, name, SANE_TYPE_FIXED, settable);
        edge.descriptor.unit = SANE_UNIT_MM;
        edge.descriptor.constraint_type = SANE_CONSTRAINT_RANGE;
        edge.descriptor.constraint.range = name[3] == 'x' ? &width_ : &height_;
    }
    at(SANE_NAME_SCAN_BR_X).word = width_.max;
    allowWhatTheModeNeeds();
    at(SANE_NAME_SCAN_BR_Y).word = height_.max;
}

void ScanOptions::addSensors(const ScannerState& state) {
    const ScannerKind* kind = scannerKind(state.backend.data());
    add("", "Sensors", SANE_TYPE_GROUP, 0);
    for (std::int32_t i = 0; i < state.sensorCount; ++i) {
        const Sensor& sensor = state.sensors[static_cast<std::size_t>(i)];
        const SANE_Value_Type type = sensor.type == SensorType::boolean  ? SANE_TYPE_BOOL
                                     : sensor.type == SensorType::number ? SANE_TYPE_INT
                                                                         : SANE_TYPE_STRING;
        Option& option = add(sensor.option.data(), sensor.title.data(), type,
                             SANE_CAP_SOFT_DETECT | SANE_CAP_ADVANCED |
                                 (sensor.isSetByHardware != 0 ? SANE_CAP_HARD_SELECT : 0) |
                                 (sensor.isActive != 0 ? 0 : SANE_CAP_INACTIVE));
        option.sensor = i;
        if (type == SANE_TYPE_STRING && kind != nullptr && !kind->texts.empty()) {
            addTexts(option, {kind->texts.begin(), kind->texts.end()});
        }
    }
    if (kind != nullptr) {
        for (const char* name : kind->switches) {
            add(name, name, SANE_TYPE_BOOL, settable);
        }
    }
    if (state.reading == Reading::stickyInSession) {
        add("button-update", "Update button state", SANE_TYPE_BUTTON, settable | SANE_CAP_ADVANCED);
    }
}

const ScanOptions::Option& ScanOptions::at(std::string_view name) const {
    return *std::ranges::find(options_, name, [](const Option& option) { return option.descriptor.name; });
}

ScanOptions::Option& ScanOptions::at(std::string_view name) {
    return const_cast<Option&>(std::as_const(*this).at(name));
}

const SANE_Option_Descriptor* ScanOptions::descriptor(SANE_Int option) const {
    const auto index = static_cast<std::size_t>(option);
    return index < options_.size() ? &options_[index].descriptor : nullptr;
}

int ScanOptions::sensorOf(SANE_Int option) const { return options_[static_cast<std::size_t>(option)].sensor; }

SANE_Status ScanOptions::get(SANE_Int option, void* value) const {
    const Option& what = options_[static_cast<std::size_t>(option)];
    if (what.descriptor.type == SANE_TYPE_STRING) {
        *std::ranges::copy(what.text, static_cast<char*>(value)).out = '\0';
    } else if (what.descriptor.size == sizeof(SANE_Word)) {
        *static_cast<SANE_Word*>(value) = what.word;
    } else {
        return SANE_STATUS_INVAL;
    }
    return SANE_STATUS_GOOD;
}

SANE_Status ScanOptions::set(SANE_Int option, const void* value, SANE_Int& information) {
    Option& what = options_[static_cast<std::size_t>(option)];
    const SANE_Option_Descriptor& descriptor = what.descriptor;
    if (!SANE_OPTION_IS_ACTIVE(descriptor.cap) || !SANE_OPTION_IS_SETTABLE(descriptor.cap)) {
        return SANE_STATUS_INVAL;
    }
    if (descriptor.type == SANE_TYPE_STRING) {
        const std::string text = static_cast<const char*>(value);
        if (!offers(descriptor, text)) {
            return SANE_STATUS_INVAL;
        }
        what.text = text;
        information |= SANE_INFO_RELOAD_OPTIONS | SANE_INFO_RELOAD_PARAMS;
        allowWhatTheModeNeeds();
    } else if (descriptor.size == sizeof(SANE_Word)) {
        const SANE_Word wanted = *static_cast<const SANE_Word*>(value);
        what.word = nearest(descriptor, wanted);
        information |= SANE_INFO_RELOAD_PARAMS | (what.word != wanted ? SANE_INFO_INEXACT : 0);
    }
    return SANE_STATUS_GOOD;
}

/// A feeder takes longer paper than the table, and black and white has no depth.
void ScanOptions::allowWhatTheModeNeeds() {
    const bool isLineart = at(SANE_NAME_SCAN_MODE).text == SANE_VALUE_SCAN_MODE_LINEART;
    at(SANE_NAME_BIT_DEPTH).descriptor.cap = isLineart ? settable | SANE_CAP_INACTIVE : settable;
    const bool isFeeder = mode().isFromFeeder;
    height_.max = SANE_FIX(isFeeder ? feederHeight : tableHeight);
    for (const char* edge : {SANE_NAME_SCAN_TL_Y, SANE_NAME_SCAN_BR_Y}) {
        at(edge).word = std::min(at(edge).word, height_.max);
    }
}

ScanMode ScanOptions::mode() const {
    ScanMode mode;
    const auto source = std::ranges::find_if(options_, [](const Option& option) {
        return std::string_view(option.descriptor.name) == SANE_NAME_SCAN_SOURCE;
    });
    mode.hasBothSides = source != options_.end() && source->text == duplexFeeder;
    mode.isFromFeeder = source != options_.end() && source->text != table;
    const std::string& colours = at(SANE_NAME_SCAN_MODE).text;
    mode.colours = colours == SANE_VALUE_SCAN_MODE_LINEART ? ScanMode::Colours::lineart
                   : colours == SANE_VALUE_SCAN_MODE_COLOR ? ScanMode::Colours::colour
                                                           : ScanMode::Colours::grey;
    mode.depth = mode.colours == ScanMode::Colours::lineart ? 1 : at(SANE_NAME_BIT_DEPTH).word;
    mode.resolution = at(SANE_NAME_SCAN_RESOLUTION).word;
    mode.left = SANE_UNFIX(at(SANE_NAME_SCAN_TL_X).word);
    mode.top = SANE_UNFIX(at(SANE_NAME_SCAN_TL_Y).word);
    mode.right = SANE_UNFIX(at(SANE_NAME_SCAN_BR_X).word);
    mode.bottom = SANE_UNFIX(at(SANE_NAME_SCAN_BR_Y).word);
    return mode;
}

} // namespace trigora::simulators
