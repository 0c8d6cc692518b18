#include "ui/Theme.hpp"

namespace corvel::ui {

namespace {

Theme makeDarkTheme() {
    return {
        .surface = QColor(0x15181D),
        .stage = QColor(0x090B0E),
        .raised = QColor(0x1F242B),
        .raisedHover = QColor(0x272D36),
        .raisedPressed = QColor(0x303742),
        .rowHover = QColor(0x1C2128),
        .rowPressed = QColor(0x242A32),
        .selected = QColor(0x1B3452),
        .selectedQuiet = QColor(0x182636),
        .selectedEdge = QColor(0x35608F),
        .drop = QColor(0x20456F),
        .field = QColor(0x0F1216),
        .sheet = QColor(0x1B1F26),
        .accentFill = QColor(0x2468D8),
        .accentFillHover = QColor(0x2C70E0),
        .accentFillPressed = QColor(0x1D58BA),
        .disabledFill = QColor(0x1F242B),
        .text = QColor(0xF0F2F5),
        .text2 = QColor(0xA7B0BD),
        .text3 = QColor(0x818B99),
        .disabled = QColor(0x59626F),
        .accent = QColor(0x6CB0FF),
        .online = QColor(0x3ECF8A),
        .offline = QColor(0x7A8492),
        .missing = QColor(0x8B95A3),
        .danger = QColor(0xFF7A78),
        .warning = QColor(0xF2B544),
        .hairline = QColor(0x2A3038),
        .edge = QColor(0x3A424E),
        .tip = QColor(0x2B323C),
        .tipInk = QColor(0xF0F2F5),
        .accentInk = QColor(0xFFFFFF),
        .scrim = QColor(4, 5, 7, 158),
    };
}

Theme makeLightTheme() {
    return {
        .surface = QColor(0xF3F5F7),
        .stage = QColor(0xFFFFFF),
        .raised = QColor(0xFFFFFF),
        .raisedHover = QColor(0xE9EDF2),
        .raisedPressed = QColor(0xDDE3EA),
        .rowHover = QColor(0xE9ECF1),
        .rowPressed = QColor(0xDDE2E9),
        .selected = QColor(0xD9E8FB),
        .selectedQuiet = QColor(0xE6EFFB),
        .selectedEdge = QColor(0x8DB8EE),
        .drop = QColor(0xC3DBF9),
        .field = QColor(0xFFFFFF),
        .sheet = QColor(0xFAFBFC),
        .accentFill = QColor(0x1765D8),
        .accentFillHover = QColor(0x0F58C4),
        .accentFillPressed = QColor(0x0B489F),
        .disabledFill = QColor(0xE4E8ED),
        .text = QColor(0x14171C),
        .text2 = QColor(0x535D6A),
        .text3 = QColor(0x67717E),
        .disabled = QColor(0xA0A8B3),
        .accent = QColor(0x0A5FD0),
        .online = QColor(0x178A50),
        .offline = QColor(0x727C89),
        .missing = QColor(0x6A7481),
        .danger = QColor(0xC42B36),
        .warning = QColor(0x8F5B00),
        .hairline = QColor(0xDADFE6),
        .edge = QColor(0xC3CAD4),
        .tip = QColor(0x262D37),
        .tipInk = QColor(0xF0F2F5),
        .accentInk = QColor(0xFFFFFF),
        .scrim = QColor(28, 34, 44, 97),
    };
}

}  // namespace

const Theme& Theme::of(AppAppearanceMode mode) {
    static const Theme dark = makeDarkTheme();
    static const Theme light = makeLightTheme();
    switch (mode) {
        case AppAppearanceMode::light:
            return light;
        case AppAppearanceMode::dark:
            break;
    }
    return dark;
}

}  // namespace corvel::ui
