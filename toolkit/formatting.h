// Writers of each format into a sink.
#ifndef SCANMESH_TOOLKIT_FORMATTING_H
#define SCANMESH_TOOLKIT_FORMATTING_H

#include "scanmesh/toolkit/files.h"
#include "toolkit/byte_sink.h"

namespace scanmesh {

// Writes the mesh; the sink isn't flushed.
void format_into(ByteSink& sink, const TriangleMesh& mesh, Format format,
                 const WriteOptions& options);

void format_stl(ByteSink& sink, const TriangleMesh& mesh, bool text);
void format_ply(ByteSink& sink, const TriangleMesh& mesh, bool text, bool doubles);
void format_obj(ByteSink& sink, const TriangleMesh& mesh);
void format_off(ByteSink& sink, const TriangleMesh& mesh);
void format_glb(ByteSink& sink, const TriangleMesh& mesh);
void format_xyz(ByteSink& sink, const TriangleMesh& mesh);
void format_wrl(ByteSink& sink, const TriangleMesh& mesh);
void format_x3d(ByteSink& sink, const TriangleMesh& mesh);
void format_dae(ByteSink& sink, const TriangleMesh& mesh);

// The mesh's normals, or the mean of the faces around each point by angle where it has none; (0, 0,
// 1) for points without faces.
std::vector<Point> normals_of(const TriangleMesh& mesh);

}  // namespace scanmesh

#endif  // SCANMESH_TOOLKIT_FORMATTING_H
