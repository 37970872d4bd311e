#include "companions/PScanAssistant/scanners/ScannerSetup.h"

#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>

namespace trigora::companions {

namespace {

constexpr double millimetresPerInch = 25.4;

using Words = std::initializer_list<std::string_view>;

bool containsAny(const std::string& text, const Words& words) {
    const std::string lowered = platform::lowercased(text);
    return std::ranges::any_of(
        words, [&](std::string_view word) { return lowered.find(word) != std::string::npos; });
}

bool isDuplex(const std::string& source) { return containsAny(source, {"duplex", "both sides"}); }
bool isFeeder(const std::string& source) {
    return isDuplex(source) || containsAny(source, {"adf", "feeder", "sheet"});
}
bool isTable(const std::string& source) {
    return !isFeeder(source) && containsAny(source, {"flatbed", "table", "platen", "normal"});
}

std::optional<std::string> firstText(const ScannerOption* option, bool (*wanted)(const std::string&)) {
    if (option == nullptr) {
        return std::nullopt;
    }
    const auto found = std::ranges::find_if(option->texts, wanted);
    return found == option->texts.end() ? std::nullopt : std::optional(*found);
}

bool isSingleSided(const std::string& source) { return isFeeder(source) && !isDuplex(source); }

/// Some scanners have both sides as a mode of their one feeder.
bool setBothSides(Scanner& scanner, bool bothSides) {
    const std::vector<ScannerOption> options = scanner.options();
    if (const ScannerOption* mode = settableOption(options, "adf-mode")) {
        const std::optional<std::string> text = firstText(
            mode, bothSides ? isDuplex : [](const std::string& name) { return !isDuplex(name); });
        return text && scanner.set(mode->name, *text);
    }
    const ScannerOption* duplex = settableOption(options, "duplex");
    return duplex != nullptr && duplex->isBoolean && scanner.set(duplex->name, bothSides);
}

bool hasBothSidesMode(const std::vector<ScannerOption>& options) {
    const ScannerOption* duplex = settableOption(options, "duplex");
    return firstText(settableOption(options, "adf-mode"), isDuplex) ||
           (duplex != nullptr && duplex->isBoolean);
}

/// The source to use; never automatic.
DocumentSource availableSource(const PaperPaths& paths, DocumentSource wanted, std::vector<ScanNote>& notes) {
    switch (wanted) {
    case DocumentSource::automatic:
        break;
    case DocumentSource::table:
        return paths.hasTable ? wanted : DocumentSource::feeder;
    case DocumentSource::duplexFeeder:
        if (paths.hasDuplexFeeder) {
            return wanted;
        }
        if (paths.hasFeeder) {
            notes.push_back(
                {"Scan.Note.OneSide", "this scanner cannot scan both sides; one side was scanned", {}});
            return DocumentSource::feeder;
        }
        [[fallthrough]];
    case DocumentSource::feeder:
        if (paths.hasFeeder) {
            return DocumentSource::feeder;
        }
        notes.push_back({"Scan.Note.NoFeeder", "this scanner has no feeder; the glass was scanned", {}});
        return DocumentSource::table;
    }
    const bool isToBeTried = paths.hasFeeder && (paths.feederHasPaper.value_or(true) || !paths.hasTable);
    return isToBeTried ? DocumentSource::feeder : DocumentSource::table;
}

/// A scanner without a choice of sources can show in other ways that it has a feeder.
bool tellsOfFeeder(const ScannerOption& option) {
    return containsAny(option.name, {"adf", "feeder", "page-loaded", "paper-loaded", "sheet"});
}

std::optional<bool> hasPaper(Scanner& scanner, const std::vector<ScannerOption>& options) {
    for (const ScannerOption& option : options) {
        if (option.isBoolean && containsAny(option.name, {"page-loaded", "paper-loaded", "adf-loaded"})) {
            const std::optional<ScannerValue> value = scanner.value(option.name);
            return value && std::holds_alternative<bool>(*value) ? std::optional(std::get<bool>(*value))
                                                                 : std::nullopt;
        }
    }
    return std::nullopt;
}

struct ModeNames {
    std::optional<std::string> colour;
    std::optional<std::string> grey;
    std::optional<std::string> lineArt;
};

/// The mode with the name itself; else one with any of the words in its name, if possible without one of
/// those that tell of a poorer kind ("Gray[Error Diffusion]" beside "True Gray", "Color Lineart" beside
/// "Lineart").
std::optional<std::string> modeWith(const ScannerOption& mode, std::string_view name, const Words& words,
                                    const Words& poorer) {
    for (const auto& text : mode.texts) {
        if (platform::lowercased(text) == name) {
            return text;
        }
    }
    std::optional<std::string> found;
    for (const auto& text : mode.texts) {
        if (!containsAny(text, words)) {
            continue;
        }
        if (!containsAny(text, poorer)) {
            return text;
        }
        found = found ? found : text;
    }
    return found;
}

ModeNames modeNames(const ScannerOption& mode) {
    return {modeWith(mode, "color", {"colo"}, {"diffusion", "dither", "halftone", "lineart"}),
            modeWith(mode, "gray", {"gray", "grey"}, {"diffusion", "dither", "halftone", "lineart"}),
            modeWith(mode, "lineart", {"lineart", "line art", "binary", "black", "monochrome"},
                     {"diffusion", "dither", "halftone", "colo"})};
}

/// The mode that comes nearest; none when the scanner has none of them.
std::optional<std::string> nearestMode(const ModeNames& names, ImageType type) {
    std::array<std::optional<std::string>, 3> preferred{names.colour, names.grey, names.lineArt};
    if (type == ImageType::grey) {
        preferred = {names.grey, names.colour, names.lineArt};
    } else if (type == ImageType::blackAndWhite) {
        preferred = {names.lineArt, names.grey, names.colour};
    }
    const auto chosen = std::ranges::find_if(preferred, [](const auto& name) { return name.has_value(); });
    return chosen == preferred.end() ? std::nullopt : *chosen;
}

bool chooseMode(Scanner& scanner, ImageType type) {
    const std::vector<ScannerOption> options = scanner.options();
    const ScannerOption* mode = settableOption(options, "mode");
    if (mode == nullptr) {
        return true;
    }
    const ModeNames names = modeNames(*mode);
    const std::optional<std::string> chosen = nearestMode(names, type);
    if (chosen && !scanner.set("mode", *chosen)) {
        return false;
    }
    if (chosen && chosen == names.lineArt) {
        return true; // has its depth by itself
    }
    const std::vector<ScannerOption> newOptions = scanner.options();
    const ScannerOption* depth = settableOption(newOptions, "depth");
    const double bits = type == ImageType::blackAndWhite && chosen == names.grey ? 1 : 8;
    if (depth != nullptr && std::ranges::find(depth->numbers, bits) != depth->numbers.end()) {
        scanner.set("depth", bits);
    }
    return true;
}

std::string wholeText(double number) { return std::to_string(std::llround(number)); }

double nearest(const ScannerOption& option, double wanted) {
    if (!option.numbers.empty()) {
        return *std::ranges::min_element(option.numbers, {},
                                         [&](double number) { return std::abs(number - wanted); });
    }
    if (option.least && option.most && *option.least <= *option.most) {
        return std::clamp(wanted, *option.least, *option.most);
    }
    return wanted;
}

/// The resolution that the scanner ends up with; none when it refuses.
std::optional<double> chooseResolution(Scanner& scanner, double wanted) {
    const std::vector<ScannerOption> options = scanner.options();
    const ScannerOption* resolution = resolutionOption(options);
    if (resolution == nullptr) {
        return wanted;
    }
    const double chosen = nearest(*resolution, wanted);
    if (!scanner.set(resolution->name, chosen)) {
        return std::nullopt;
    }
    if (const ScannerOption* vertical = settableOption(options, "y-resolution")) {
        scanner.set(vertical->name, nearest(*vertical, chosen));
    }
    const std::optional<ScannerValue> now = scanner.value(resolution->name);
    const double* number = now ? std::get_if<double>(&*now) : nullptr;
    return number != nullptr && *number >= 1 ? *number : chosen;
}

/// Puts one end of the scan area as near to a place (in millimetres) as it can be and returns where; none
/// when the scanner has no such end or refuses, and keeps its own.
std::optional<double> chooseEdge(Scanner& scanner, const std::string& name, double millimetres,
                                 double resolution) {
    const std::vector<ScannerOption> options = scanner.options();
    const ScannerOption* edge = settableOption(options, name);
    if (edge == nullptr) {
        return std::nullopt;
    }
    const bool inPixels = edge->unit == ScannerOption::Unit::pixels;
    const double unitsPerMillimetre = inPixels ? resolution / millimetresPerInch : 1;
    const double wanted = millimetres * unitsPerMillimetre;
    const double chosen = nearest(*edge, inPixels ? std::floor(wanted) : wanted);
    return scanner.set(name, chosen) ? std::optional(chosen / unitsPerMillimetre) : std::nullopt;
}

/// How far an edge can go, in millimetres; none when the scanner does not say.
std::optional<double> farthest(Scanner& scanner, const std::string& name, double resolution) {
    const std::vector<ScannerOption> options = scanner.options();
    const ScannerOption* edge = settableOption(options, name);
    if (edge == nullptr || (!edge->most && edge->numbers.empty())) {
        return std::nullopt;
    }
    const double most = edge->most ? *edge->most : std::ranges::max(edge->numbers);
    return edge->unit == ScannerOption::Unit::pixels ? most / resolution * millimetresPerInch : most;
}

/// Landscape paper lies across the scanner where that is wide enough, else it lies upright and its picture is
/// turned.
PaperSize placedPaper(Scanner& scanner, const ScanSettings& settings, ScannerSetup& setup) {
    const std::optional<double> width = farthest(scanner, "br-x", setup.resolution);
    const std::optional<double> height = farthest(scanner, "br-y", setup.resolution);
    PaperSize paper = settings.paper;
    if (settings.isWholeArea && width && height) {
        paper = {*width, *height};
    }
    const bool isAcross = settings.orientation == Orientation::landscape && !settings.isWholeArea &&
                          width.value_or(0) >= paper.height;
    if (isAcross) {
        std::swap(paper.width, paper.height);
    } else {
        setup.quarterTurns = static_cast<int>(settings.orientation);
    }
    return paper;
}

/// Whether the scanner has such a switch; it is set then.
bool setSwitch(Scanner& scanner, const Words& names, bool isOn) {
    const std::vector<ScannerOption> options = scanner.options();
    for (const ScannerOption& option : options) {
        if (option.isBoolean && option.settable &&
            std::ranges::find(names, std::string_view(option.name)) != names.end()) {
            return scanner.set(option.name, isOn);
        }
    }
    return false;
}

/// What the scanner can do to its pages it does itself.
void chooseFilters(Scanner& scanner, const ScanSettings& settings, ScannerSetup& setup) {
    setup.descreen = !setSwitch(scanner, {"descreen", "descreening"}, settings.descreen) && settings.descreen;
    setup.sharpen = !setSwitch(scanner, {"unsharp-mask", "sharpen", "edge-emphasis"}, settings.sharpen) &&
                    settings.sharpen;
    setup.enhance = !setSwitch(scanner, {"auto-enhance", "enhance", "auto-exposure"}, settings.enhance) &&
                    settings.enhance;
    setSwitch(scanner, {"quality-scan", "high-quality"}, settings.quality == Quality::best);
    setSwitch(scanner, {"speed", "fast"}, settings.quality == Quality::speed);
    if (settings.isWholeArea) {
        setSwitch(scanner, {"swcrop", "auto-crop", "ald"}, true);
    }
    if ((setup.descreen || setup.sharpen) && settings.imageType == ImageType::blackAndWhite) {
        setup.notes.push_back(
            {"Scan.Note.Filter", "pages in black and white cannot be descreened or sharpened", {}});
    }
}

void chooseArea(Scanner& scanner, const ScanSettings& settings, ScannerSetup& setup) {
    const PaperSize paper = placedPaper(scanner, settings, setup);
    chooseEdge(scanner, "page-width", paper.width, setup.resolution);
    chooseEdge(scanner, "page-height", paper.height, setup.resolution);
    chooseEdge(scanner, "tl-x", 0, setup.resolution);
    chooseEdge(scanner, "tl-y", 0, setup.resolution);
    const double width = chooseEdge(scanner, "br-x", paper.width, setup.resolution).value_or(paper.width);
    const std::optional<double> length = chooseEdge(scanner, "br-y", paper.height, setup.resolution);
    const double height = length.value_or(paper.height);
    constexpr double littleLess = 2; // of millimetres; a Letter glass need not be exactly that wide
    if (width < paper.width - littleLess || height < paper.height - littleLess) {
        setup.notes.push_back(
            {"Scan.Note.Size",
             "this scanner cannot scan %@ by %@ millimetres; it scanned %@ by %@",
             {wholeText(paper.width), wholeText(paper.height), wholeText(width), wholeText(height)}});
    }
    // A scanner that cannot be told where a page ends may send the longest that anybody feeds.
    constexpr double longestPage = 3000;
    setup.mostLines = static_cast<std::size_t>((length ? *length * 2 : longestPage) / millimetresPerInch *
                                               setup.resolution);
}

} // namespace

const ScannerOption* settableOption(const std::vector<ScannerOption>& options, const std::string& name) {
    const auto found = std::ranges::find(options, name, &ScannerOption::name);
    return found != options.end() && found->settable ? &*found : nullptr;
}

const ScannerOption* resolutionOption(const std::vector<ScannerOption>& options) {
    const ScannerOption* option = settableOption(options, "resolution");
    return option != nullptr ? option : settableOption(options, "x-resolution");
}

PaperPaths paperPaths(Scanner& scanner) {
    const std::vector<ScannerOption> options = scanner.options();
    const ScannerOption* source = settableOption(options, "source");
    PaperPaths paths;
    paths.canChoose = source != nullptr;
    paths.hasFeeder = paths.canChoose ? firstText(source, isFeeder).has_value()
                                      : std::ranges::any_of(options, tellsOfFeeder);
    paths.hasDuplexFeeder = firstText(source, isDuplex) || (paths.hasFeeder && hasBothSidesMode(options));
    // A scanner without a choice of sources has one place for documents.
    paths.hasTable = firstText(source, isTable) || !paths.hasFeeder;
    paths.feederHasPaper = paths.hasFeeder ? hasPaper(scanner, options) : std::nullopt;
    return paths;
}

bool chooseSource(Scanner& scanner, DocumentSource source) {
    const std::vector<ScannerOption> options = scanner.options();
    const ScannerOption* option = settableOption(options, "source");
    if (option == nullptr) {
        if (source == DocumentSource::feeder || source == DocumentSource::duplexFeeder) {
            setBothSides(scanner, source == DocumentSource::duplexFeeder);
        }
        return true;
    }
    std::optional<std::string> name;
    switch (source) {
    case DocumentSource::automatic:
        return true;
    case DocumentSource::table:
        name = firstText(option, isTable);
        break;
    case DocumentSource::feeder:
        name = firstText(option, isSingleSided);
        break;
    case DocumentSource::duplexFeeder:
        name = firstText(option, isDuplex);
        if (!name) {
            name = firstText(option, isFeeder);
            return name && scanner.set("source", *name) && setBothSides(scanner, true);
        }
        break;
    }
    if (!name && source == DocumentSource::feeder) {
        name = firstText(option, isFeeder);
    }
    if (name && !scanner.set("source", *name)) {
        return false;
    }
    if (source == DocumentSource::feeder) {
        setBothSides(scanner, false);
    }
    return true;
}

std::optional<ScannerSetup> setUp(Scanner& scanner, const ScanSettings& settings) {
    ScannerSetup setup;
    const PaperPaths paths = paperPaths(scanner);
    const DocumentSource source = availableSource(paths, settings.documentSource, setup.notes);
    if (!chooseSource(scanner, source) || !chooseMode(scanner, settings.imageType)) {
        return std::nullopt;
    }
    const std::optional<double> resolution = chooseResolution(scanner, settings.resolution);
    if (!resolution) {
        return std::nullopt;
    }
    if (std::abs(*resolution - settings.resolution) >= 1) {
        setup.notes.push_back({"Scan.Note.Resolution",
                               "this scanner cannot scan with %@ dots per inch; it scanned with %@",
                               {wholeText(settings.resolution), wholeText(*resolution)}});
    }
    setup.resolution = *resolution;
    setup.takesPages = source != DocumentSource::table;
    setup.mayTryTable = settings.documentSource == DocumentSource::automatic && setup.takesPages &&
                        paths.hasTable && paths.canChoose;
    chooseFilters(scanner, settings, setup);
    chooseArea(scanner, settings, setup);
    return setup;
}

} // namespace trigora::companions
