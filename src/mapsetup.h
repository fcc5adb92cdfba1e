#pragma once

#include <string>

class SpringMapRenderer;

// Loads the map at Path (an .smf, an .sdd folder, an .sdz or .sd7 archive) or, with an empty Path,
// Quindle's generated default map (written to the user's cache on first use). Name is what the
// status bar calls it. False with one line naming the file and the problem, the map left as it was.
bool LoadMap(const std::string& Path, SpringMapRenderer& Map, std::string& Name, std::string& Error);
