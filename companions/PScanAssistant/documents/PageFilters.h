#pragma once

#include "companions/PScanAssistant/documents/PageImage.h"

namespace trigora::companions {

/// Turns a page clockwise by so many quarters.
PageImage turned(PageImage page, int quarters);

// What scanners do themselves where they have an option for it. Pages in black and white stay as they are.

/// Blurs the dots of printed pictures.
PageImage descreened(PageImage page);
/// Makes edges steeper.
PageImage sharpened(PageImage page);
/// Makes paper white and ink black where a page has both; a picture without white stays as it is.
PageImage enhanced(PageImage page);

} // namespace trigora::companions
