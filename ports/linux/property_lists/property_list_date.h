#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/value.h"

// Dates as XML property lists write them, "2026-02-14T09:30:00Z". Free of locale and time zone.
namespace revwarden {

std::optional<Date> dateFromPropertyListText(std::string_view text);

/// Cut off to whole seconds, toward the past, and brought into the years 1 to 9999.
void appendPropertyListDate(std::string& out, Date date);

}  // namespace revwarden
