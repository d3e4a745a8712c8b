// The panels, one function for each subsystem. A function runs its subsystem's families on the photograph and adds
// what came of it to the page.
#pragma once

#include "page.h"

namespace tour {

void addBorderPanels(const Subject& subject, Page& page);
void addDetectPanels(const Subject& subject, Page& page);
void addDistancePanels(const Subject& subject, Page& page);
void addFacePanels(const Subject& subject, Page& page);
void addFeaturesPanels(const Subject& subject, Page& page);
void addFilterPanels(const Subject& subject, Page& page);
void addFloodPanels(const Subject& subject, Page& page);
void addLabelPanels(const Subject& subject, Page& page);
void addLinesPanels(const Subject& subject, Page& page);
void addMotionPanels(const Subject& subject, Page& page);
void addMorphPanels(const Subject& subject, Page& page);
void addPyramidPanels(const Subject& subject, Page& page);
void addReconstructPanels(const Subject& subject, Page& page);
void addStatsPanels(const Subject& subject, Page& page);
void addWatershedPanels(const Subject& subject, Page& page);

}  // namespace tour
