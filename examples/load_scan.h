// Opening a scan, whichever kind of STL file it is.
#ifndef SCANMESH_EXAMPLES_LOAD_SCAN_H
#define SCANMESH_EXAMPLES_LOAD_SCAN_H

#include <string>

#include "scanmesh/mesh.h"

namespace demo {

/// Reads a binary or ASCII STL file into a fresh mesh; inalize_mesh() is still to be called. False
/// for what is no STL file, and for one too large for the memory at hand.
bool load_scan(const std::string& path, Mesh_M::Mesh& mesh);

/// Writes the mesh as binary STL. False when the path can't be written: output_STL has no way to
/// report a failure, so the path is tried first.
bool save_scan(const std::string& path, Mesh_M::Mesh& mesh);

/// Over the live edges: an estimate of the scan's point spacing. 0 for a mesh without edges.
double mean_edge_length(Mesh_M::Mesh& mesh);

/// Frees a snapshot that won't be handed back to the mesh, with its arrays.
void drop(Mesh_M::obj_triangle* record);

}  // namespace demo

#endif  // SCANMESH_EXAMPLES_LOAD_SCAN_H
