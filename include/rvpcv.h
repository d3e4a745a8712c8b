/**
 * @file
 * rvpCV: computer-vision primitives behind a plain C interface. Include this header for all families.
 */
#ifndef RVPCV_H
#define RVPCV_H

#include "rvpcv/background.h"
#include "rvpcv/detect.h"
#include "rvpcv/distance.h"
#include "rvpcv/features.h"
#include "rvpcv/filter.h"
#include "rvpcv/flood.h"
#include "rvpcv/frame.h"
#include "rvpcv/label.h"
#include "rvpcv/pyramid.h"
#include "rvpcv/pyramid_layer.h"
#include "rvpcv/reconstruct.h"
#include "rvpcv/stats.h"
#include "rvpcv/types.h"

#endif
