// A mesh's health in words and as JSON.
#include <cstdio>
#include <string>

#include "scanmesh/toolkit/inspect.h"

namespace scanmesh {
namespace {

void add_count(std::string& text, std::int64_t count, const char* one, const char* many) {
  if (count == 0) return;
  if (!text.empty()) text += ", ";
  text += std::to_string(count) + " " + (count == 1 ? one : many);
}

// Shortest digits that read back as the same double; JSON knows no infinity.
std::string json_number(double value) {
  if (!(value - value == 0)) return "null";
  char text[40];
  for (int digits = 1; digits <= 17; ++digits) {
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    double back = 0;
    if (std::sscanf(text, "%lf", &back) == 1 && back == value) break;
  }
  for (char* c = text; *c != 0; ++c) {
    if (*c == ',') *c = '.';
  }
  return text;
}

std::string json_point(const Point& p) {
  return "[" + json_number(p.x) + ", " + json_number(p.y) + ", " + json_number(p.z) + "]";
}

}  // namespace

std::string describe(const Health& health) {
  if (health.faces == 0) return "empty: no faces";
  if (health.healthy()) return "healthy: closed, manifold, oriented, no self-intersections";
  std::string text;
  add_count(text, health.open_edges, "open edge", "open edges");
  add_count(text, health.rings, "ring", "rings");
  add_count(text, health.nonmanifold_edges, "non-manifold edge", "non-manifold edges");
  add_count(text, health.nonmanifold_vertices, "non-manifold vertex", "non-manifold vertices");
  add_count(text, health.twisted_edges, "edge between faces turned against one another",
            "edges between faces turned against one another");
  add_count(text, health.duplicate_faces, "duplicate face", "duplicate faces");
  add_count(text, health.degenerate_faces, "degenerate face", "degenerate faces");
  add_count(text, health.nonfinite_faces, "face that isn't finite", "faces that aren't finite");
  add_count(text, health.self_intersections, "self-intersection", "self-intersections");
  add_count(text, health.inward_components, "component inside out", "components inside out");
  if (health.healthy_but_open()) return "open, otherwise healthy: " + text;
  return "not healthy: " + text;
}

std::string to_json(const Health& health) {
  std::string json = "{";
  const auto add = [&json](const char* name, const std::string& value) {
    if (json.size() > 1) json += ", ";
    json += "\"" + std::string(name) + "\": " + value;
  };
  const auto flag = [](bool value) { return std::string(value ? "true" : "false"); };
  add("healthy", flag(health.healthy()));
  add("closed", flag(health.closed()));
  add("manifold", flag(health.manifold()));
  add("oriented", flag(health.oriented()));
  add("watertight", flag(health.watertight()));
  add("vertices", std::to_string(health.vertices));
  add("faces", std::to_string(health.faces));
  add("components", std::to_string(health.components));
  add("open_edges", std::to_string(health.open_edges));
  add("nonmanifold_edges", std::to_string(health.nonmanifold_edges));
  add("twisted_edges", std::to_string(health.twisted_edges));
  add("nonmanifold_vertices", std::to_string(health.nonmanifold_vertices));
  add("duplicate_faces", std::to_string(health.duplicate_faces));
  add("degenerate_faces", std::to_string(health.degenerate_faces));
  add("nonfinite_faces", std::to_string(health.nonfinite_faces));
  add("self_intersections", std::to_string(health.self_intersections));
  add("inward_components", std::to_string(health.inward_components));
  add("rings", std::to_string(health.rings));
  add("genus", health.genus < 0 ? "null" : std::to_string(health.genus));
  add("volume", json_number(health.volume));
  add("area", json_number(health.area));
  add("mean_edge", json_number(health.mean_edge));
  add("box", "[" + json_point(health.box.min) + ", " + json_point(health.box.max) + "]");
  return json + "}";
}

}  // namespace scanmesh
