#pragma once

namespace corvel {

/// The scale of text on a desktop with this font (in points) and this text density (in dots per inch): 1 if they are
/// usual, otherwise between 0.75 and 3 in steps of 0.05. Usual fonts have 9 to 11 points, depending on the desktop.
[[nodiscard]] double textScale(double fontPoints, double textDPI);

/// The text scale that the user has set on the desktop, as far as the toolkit does not apply it itself. Must be called
/// before the application's font is set.
[[nodiscard]] double desktopTextScale();

}  // namespace corvel
