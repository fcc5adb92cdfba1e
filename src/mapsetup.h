#pragma once

#include <string>
#include <vector>

class SpringMapRenderer;
struct SpringMap;

// Loads the map at Path (an .smf, an .sdd folder, an .sdz or .sd7 archive) or, with an empty Path,
// Quindle's generated default map (written to the user's cache on first use). False with one line
// naming the file and the problem.
bool LoadSpringMap(const std::string& Path, SpringMap& Out, std::string& Error);
// The same, handed to the renderer, the map left as it was on failure. Name is what the status bar
// calls it; Warnings are the loader's, one "<file>: <problem>" line each.
bool LoadMap(const std::string& Path, SpringMapRenderer& Map, std::string& Name,
             std::vector<std::string>& Warnings, std::string& Error);
// The status bar's line about a load's warnings: the first, and how many more ("" without any).
std::string SummariseMapWarnings(const std::vector<std::string>& Warnings);
