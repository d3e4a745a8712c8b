/**
 * @file
 * rvpCV: computer-vision primitives behind a plain C interface. Include this header for all families and the core
 * library.
 */
#ifndef RVPCV_H
#define RVPCV_H

#include "rvpcore.h"
#include "rvpcv/background.h"
#include "rvpcv/compound_morph.h"
#include "rvpcv/detect.h"
#include "rvpcv/distance.h"
#include "rvpcv/fastn.h"
#include "rvpcv/features.h"
#include "rvpcv/filter.h"
#include "rvpcv/flood.h"
#include "rvpcv/flow.h"
#include "rvpcv/frame.h"
#include "rvpcv/hough.h"
#include "rvpcv/label.h"
#include "rvpcv/morph.h"
#include "rvpcv/pyramid.h"
#include "rvpcv/pyramid_layer.h"
#include "rvpcv/reconstruct.h"
#include "rvpcv/segment.h"
#include "rvpcv/stats.h"
#include "rvpcv/types.h"
#include "rvpcv/watershed.h"

#endif
