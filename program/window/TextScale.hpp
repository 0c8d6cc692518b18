#pragma once

namespace corvel {

/// The size of text on a desktop with this font (in points) and this density of text (in dots per inch), 1 where it is
/// usual; between 0.75 and 3, in whole steps of 0.05. Desktops differ in what is usual: from 9 to 11 points.
[[nodiscard]] double textScale(double fontPoints, double textDPI);

/// The size of text that the user has asked the desktop for, as far as the toolkit does not follow it by itself.
/// Before anybody else sets the application's font.
[[nodiscard]] double desktopTextScale();

}  // namespace corvel
