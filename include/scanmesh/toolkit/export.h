// Marks what the toolkit's library exports; everything else is hidden.
#ifndef SCANMESH_TOOLKIT_EXPORT_H
#define SCANMESH_TOOLKIT_EXPORT_H

#if defined(_WIN32)
#if defined(SCANMESH_TOOLKIT_BUILDING)
#define SCANMESH_TOOLKIT_API __declspec(dllexport)
#else
#define SCANMESH_TOOLKIT_API __declspec(dllimport)
#endif
#else
#define SCANMESH_TOOLKIT_API __attribute__((visibility("default")))
#endif

#endif  // SCANMESH_TOOLKIT_EXPORT_H
