// The panels, one function for each subsystem. A function runs its subsystem's families on the photograph and adds
// what came of it to the page.
#pragma once

#include "page.h"

namespace tour {

void addStatsPanels(const Subject& subject, Page& page);
void addBorderPanels(const Subject& subject, Page& page);

}  // namespace tour
