#pragma once

#include <string>

struct SpringMap;

// What `quindle --info` prints about a loaded map: its name and files, size in squares and world
// units, height ranges (the .smf header's, the one in use after mapinfo, and the ground's own),
// whether ground lies below the water level, each tile file and how it resolved, the features by
// type, every warning and the files that were read.
std::string BuildMapReportText(const SpringMap& Map);
// The same facts as one JSON document.
std::string BuildMapReportJson(const SpringMap& Map);
