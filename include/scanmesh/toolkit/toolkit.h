// All of the toolkit.
#ifndef SCANMESH_TOOLKIT_TOOLKIT_H
#define SCANMESH_TOOLKIT_TOOLKIT_H

#include "scanmesh/toolkit/building.h"
#include "scanmesh/toolkit/compare.h"
#include "scanmesh/toolkit/error.h"
#include "scanmesh/toolkit/files.h"
#include "scanmesh/toolkit/filters.h"
#include "scanmesh/toolkit/inspect.h"
#include "scanmesh/toolkit/repair.h"
#include "scanmesh/toolkit/resolution.h"
#include "scanmesh/toolkit/steps.h"
#include "scanmesh/toolkit/triangle_mesh.h"

#endif  // SCANMESH_TOOLKIT_TOOLKIT_H
