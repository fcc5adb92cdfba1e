#include "mapsetup.h"

#include "springmap_generator.h"
#include "springmap_loader.h"
#include "springmap_renderer.h"

bool LoadSpringMap(const std::string& Path, SpringMap& Out, std::string& Error)
{
    std::string path = Path;
    return (!path.empty() || SpringMapGenerator::EnsureDefaultMap(path, Error)) &&
           SpringMapLoader::Load(path, Out, Error);
}

bool LoadMap(const std::string& Path, SpringMapRenderer& Map, std::string& Name,
             std::vector<std::string>& Warnings, std::string& Error)
{
    SpringMap loaded;
    if (!LoadSpringMap(Path, loaded, Error))
        return false;
    if (!Map.LoadMap(loaded))
    {
        Error = loaded.SourcePath + ": the map's height grid cannot be used";
        return false;
    }
    Name = Path.empty() ? "Default" : loaded.Name;
    Warnings = loaded.Warnings;
    return true;
}

std::string SummariseMapWarnings(const std::vector<std::string>& Warnings)
{
    if (Warnings.empty())
        return "";
    return "Warning: " + Warnings[0] +
           (Warnings.size() > 1 ? " (+" + std::to_string(Warnings.size() - 1) + " more)" : "");
}
