#pragma once

#include <string>

class GLViewport;
class SpringMapRenderer;

// The map shown without --map: 256 x 256 squares of rolling hills, a ridge and a basin, the same on
// every run so screenshots and state files compare.
bool LoadDefaultMap(SpringMapRenderer& Map);

// Loads the map at Path (an .smf, an .sdd folder, an .sdz or .sd7 archive) or, with an empty Path,
// the default map. Name is what the status bar calls it. False with one line naming the file and
// the problem, the map left as it was.
bool LoadMap(const std::string& Path, SpringMapRenderer& Map, std::string& Name, std::string& Error);
