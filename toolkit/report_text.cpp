// Health and reports in words and as JSON.
#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "scanmesh/toolkit/compare.h"
#include "scanmesh/toolkit/repair.h"

namespace scanmesh {
namespace {

using Json = nlohmann::ordered_json;

void add_count(std::string& text, std::int64_t count, const char* one, const char* many) {
  if (count == 0) return;
  if (!text.empty()) text += ", ";
  text += std::to_string(count) + " " + (count == 1 ? one : many);
}

Json json_of(const Point& p) {
  return {p.x, p.y, p.z};
}

Json json_of(const Health& health) {
  Json json;
  json["healthy"] = health.healthy();
  json["closed"] = health.closed();
  json["manifold"] = health.manifold();
  json["oriented"] = health.oriented();
  json["watertight"] = health.watertight();
  json["vertices"] = health.vertices;
  json["faces"] = health.faces;
  json["components"] = health.components;
  json["open_edges"] = health.open_edges;
  json["nonmanifold_edges"] = health.nonmanifold_edges;
  json["twisted_edges"] = health.twisted_edges;
  json["nonmanifold_vertices"] = health.nonmanifold_vertices;
  json["duplicate_faces"] = health.duplicate_faces;
  json["degenerate_faces"] = health.degenerate_faces;
  json["nonfinite_faces"] = health.nonfinite_faces;
  json["self_intersections"] = health.self_intersections;
  json["inward_components"] = health.inward_components;
  json["rings"] = health.rings;
  json["genus"] = health.genus < 0 ? Json(nullptr) : Json(health.genus);
  json["volume"] = health.volume;
  json["area"] = health.area;
  json["mean_edge"] = health.mean_edge;
  json["box"] = {json_of(health.box.min), json_of(health.box.max)};
  return json;
}

const char* name_of(RepairState state) {
  switch (state) {
    case RepairState::healthy:
      return "healthy";
    case RepairState::repaired:
      return "repaired";
    case RepairState::improved:
      return "improved";
    case RepairState::unchanged:
      break;
  }
  return "unchanged";
}

Json json_of(const Distances& d) {
  return {{"mean", d.mean}, {"rms", d.rms}, {"maximum", d.maximum}, {"within", d.within}};
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
  return json_of(health).dump(2);
}

std::string describe(const RepairReport& report) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << "before: " << describe(report.before) << "\n";
  for (const RepairStep& step : report.steps) {
    text << "  " << step.name << ": " << step.found << " found, " << step.mended << " mended\n";
  }
  text << "after:  " << describe(report.after) << "\n";
  text << name_of(report.state) << ": " << report.faces_added << " faces added, "
       << report.faces_removed << " removed, " << report.points_kept << " of "
       << report.before.vertices << " points kept";
  if (report.largest_movement > 0) text << ", one moved by " << report.largest_movement;
  text << "\n";
  for (const Remaining& place : report.remaining) {
    text << "left: " << place.defect << " at face " << place.face << " (" << place.at.x << ", "
         << place.at.y << ", " << place.at.z << ")\n";
  }
  return text.str();
}

std::string to_json(const RepairReport& report) {
  Json json;
  json["state"] = name_of(report.state);
  json["before"] = json_of(report.before);
  json["after"] = json_of(report.after);
  json["steps"] = Json::array();
  for (const RepairStep& step : report.steps) {
    json["steps"].push_back({{"name", step.name}, {"found", step.found}, {"mended", step.mended}});
  }
  json["remaining"] = Json::array();
  for (const Remaining& place : report.remaining) {
    json["remaining"].push_back(
        {{"defect", place.defect}, {"face", place.face}, {"at", json_of(place.at)}});
  }
  json["points_kept"] = report.points_kept;
  json["faces_added"] = report.faces_added;
  json["faces_removed"] = report.faces_removed;
  json["largest_movement"] = report.largest_movement;
  json["seconds"] = report.seconds;
  return json.dump(2);
}

std::string to_json(const Comparison& comparison) {
  Json json;
  json["mean"] = comparison.mean;
  json["rms"] = comparison.rms;
  json["maximum"] = comparison.maximum;
  json["tolerance"] = comparison.tolerance;
  json["a_to_b"] = json_of(comparison.a_to_b);
  json["b_to_a"] = json_of(comparison.b_to_a);
  return json.dump(2);
}

}  // namespace scanmesh
