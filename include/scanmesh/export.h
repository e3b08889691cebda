// Marks what the shared library exports; everything else is hidden.
#ifndef SCANMESH_EXPORT_H
#define SCANMESH_EXPORT_H

#if defined(_WIN32)
#if defined(SCANMESH_BUILDING)
#define SCANMESH_API __declspec(dllexport)
#else
#define SCANMESH_API __declspec(dllimport)
#endif
#else
#define SCANMESH_API __attribute__((visibility("default")))
#endif

#endif  // SCANMESH_EXPORT_H
