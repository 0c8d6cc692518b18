#include "app/RouteAvailability.hpp"

namespace corvel {

std::string_view displayText(RouteAvailability availability) {
    switch (availability) {
        case RouteAvailability::active:
            return "Active";
        case RouteAvailability::paused:
            return "Paused";
        case RouteAvailability::missingInput:
            return "Input Offline";
        case RouteAvailability::missingOutput:
            return "Output Offline";
        case RouteAvailability::missingEndpoints:
            return "Offline";
    }
    return {};
}

}  // namespace corvel
