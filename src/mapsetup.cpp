#include "mapsetup.h"

#include "springmap_generator.h"
#include "springmap_loader.h"
#include "springmap_renderer.h"

bool LoadMap(const std::string& Path, SpringMapRenderer& Map, std::string& Name, std::string& Error)
{
    std::string path = Path;
    if (path.empty() && !SpringMapGenerator::EnsureDefaultMap(path, Error))
        return false;
    SpringMap loaded;
    if (!SpringMapLoader::Load(path, loaded, Error))
        return false;
    if (!Map.LoadMap(loaded))
    {
        Error = path + ": the map's height grid cannot be used";
        return false;
    }
    Name = Path.empty() ? "Default" : loaded.Name;
    return true;
}
