#include "springmap_mapinfo.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <lua.hpp>
#include <memory>

#include "springmap_archive.h"

namespace SpringMapInfoLua
{
namespace
{
constexpr int HookEveryInstructions = 10'000;
constexpr int MaxIncludeDepth = 16;
constexpr std::size_t LuaStringOverheadBytes = 1024; // generous room for a string's header

struct Sandbox
{
    SpringMapArchive* pArchive = nullptr;
    std::size_t UsedBytes = 0;
    int InstructionsRun = 0;
    int IncludeDepth = 0;
    SpringMapFiles::Limits Caps;
    std::chrono::steady_clock::time_point Deadline;
};

Sandbox* GetSandbox(lua_State* L)
{
    void* ud = nullptr;
    lua_getallocf(L, &ud);
    return static_cast<Sandbox*>(ud);
}

void* CappedAlloc(void* ud, void* ptr, std::size_t oldSize, std::size_t newSize)
{
    auto* sandbox = static_cast<Sandbox*>(ud);
    if (newSize == 0)
    {
        sandbox->UsedBytes -= oldSize;
        std::free(ptr);
        return nullptr;
    }
    if (newSize > oldSize && sandbox->UsedBytes + (newSize - oldSize) > sandbox->Caps.MapInfoBytes)
        return nullptr; // Lua raises "not enough memory"
    void* grown = std::realloc(ptr, newSize);
    if (grown)
        sandbox->UsedBytes = sandbox->UsedBytes - oldSize + newSize;
    return grown;
}

void CountInstructions(lua_State* L, lua_Debug*)
{
    Sandbox* sandbox = GetSandbox(L);
    sandbox->InstructionsRun += HookEveryInstructions;
    if (sandbox->InstructionsRun > sandbox->Caps.MapInfoInstructions ||
        std::chrono::steady_clock::now() > sandbox->Deadline)
        luaL_error(L, "mapinfo ran too long (limits: %d instructions, %d ms)",
                   sandbox->Caps.MapInfoInstructions, sandbox->Caps.MapInfoMs);
}

// Reads an archive file for Lua: false with a message pushed when it is absent, unreadable or more
// than the sandbox could hold. Nothing is pushed that could fail for memory while Out holds the bytes
// of a large file, so a Lua error never skips its destructor.
bool ReadArchiveFile(lua_State* L, const char* function, const char* path, std::string& entry,
                     std::vector<std::uint8_t>& out)
{
    std::string error;
    Sandbox* sandbox = GetSandbox(L);
    if (!sandbox->pArchive->Find(path, entry))
        error = "cannot open '" + std::string(path) + "'";
    else if (sandbox->pArchive->Read(entry, out, error) &&
             out.size() + LuaStringOverheadBytes > sandbox->Caps.MapInfoBytes - sandbox->UsedBytes)
        error = entry + " is " + std::to_string(out.size()) + " bytes, more than mapinfo may use";
    if (error.empty())
        return true;
    out = {};
    lua_pushstring(L, (std::string(function) + ": " + error).c_str());
    return false;
}

// Loads an archive file as a chunk; leaves it on the stack, or an error message and returns false.
// No C++ object outlives a Lua error raised by the caller, so longjmp never skips a destructor.
bool LoadArchiveChunk(lua_State* L, const char* path)
{
    std::string entry;
    std::vector<std::uint8_t> data;
    if (!ReadArchiveFile(L, "VFS.Include", path, entry, data))
        return false;
    const std::string chunkName = "@" + entry;
    return luaL_loadbuffer(L, reinterpret_cast<const char*>(data.data()), data.size(), chunkName.c_str()) ==
           0;
}

int VfsInclude(lua_State* L)
{
    const char* path = luaL_checkstring(L, 1);
    Sandbox* sandbox = GetSandbox(L);
    if (sandbox->IncludeDepth >= MaxIncludeDepth)
        return luaL_error(L, "VFS.Include: nested too deep at '%s'", path);
    const int base = lua_gettop(L);
    if (!LoadArchiveChunk(L, path))
        return lua_error(L);
    // The included chunk shares the given environment, else the sandbox's globals.
    if (lua_istable(L, 2))
    {
        lua_pushvalue(L, 2);
        lua_setfenv(L, -2);
    }
    ++sandbox->IncludeDepth;
    const int status = lua_pcall(L, 0, LUA_MULTRET, 0);
    --sandbox->IncludeDepth;
    if (status != 0)
        return lua_error(L);
    return lua_gettop(L) - base;
}

// nil for a file that is not there, as the engine gives; an error for one that cannot be read.
int VfsLoadFile(lua_State* L)
{
    const char* path = luaL_checkstring(L, 1);
    bool bRead = false, bAbsent = false;
    {
        std::string entry;
        std::vector<std::uint8_t> data;
        bAbsent = !GetSandbox(L)->pArchive->Find(path, entry);
        if (!bAbsent && (bRead = ReadArchiveFile(L, "VFS.LoadFile", path, entry, data)))
            lua_pushlstring(L, reinterpret_cast<const char*>(data.data()), data.size());
    }
    if (bAbsent)
        lua_pushnil(L);
    return bRead || bAbsent ? 1 : lua_error(L);
}

int VfsFileExists(lua_State* L)
{
    const char* path = luaL_checkstring(L, 1);
    bool bFound = false;
    {
        std::string entry;
        bFound = GetSandbox(L)->pArchive->Find(path, entry);
    }
    lua_pushboolean(L, bFound);
    return 1;
}

int VfsDirList(lua_State* L)
{
    const char* dir = luaL_checkstring(L, 1);
    const char* pattern = luaL_optstring(L, 2, "*");
    lua_newtable(L);
    {
        const std::vector<std::string> files = GetSandbox(L)->pArchive->ListDir(dir, pattern);
        for (std::size_t i = 0; i < files.size(); ++i)
        {
            lua_pushstring(L, files[i].c_str()); // may raise only on memory exhaustion
            lua_rawseti(L, -2, static_cast<int>(i + 1));
        }
    }
    return 1;
}

int ReturnEmptyTable(lua_State* L)
{
    lua_newtable(L);
    return 1;
}

int DoNothing(lua_State*)
{
    return 0;
}

void InstallStubs(lua_State* L)
{
    static const luaL_Reg vfs[] = {{"Include", VfsInclude},       {"LoadFile", VfsLoadFile},
                                   {"FileExists", VfsFileExists}, {"DirList", VfsDirList},
                                   {"SubDirs", ReturnEmptyTable}, {nullptr, nullptr}};
    luaL_register(L, "VFS", vfs);
    for (const char* mode :
         {"RAW", "ZIP", "MOD", "MAP", "BASE", "RAW_FIRST", "ZIP_FIRST", "RAW_ONLY", "ZIP_ONLY"})
    {
        lua_pushstring(L, mode);
        lua_setfield(L, -2, mode);
    }
    lua_pop(L, 1);
    static const luaL_Reg spring[] = {{"GetMapOptions", ReturnEmptyTable},
                                      {"GetModOptions", ReturnEmptyTable},
                                      {"Echo", DoNothing},
                                      {"Log", DoNothing},
                                      {nullptr, nullptr}};
    luaL_register(L, "Spring", spring);
    lua_pop(L, 1);
    // Prints would reach the console; mapinfo output is not ours to show.
    lua_pushcfunction(L, DoNothing);
    lua_setglobal(L, "print");
}

constexpr const char* BlockedReason = "is blocked: mapinfo may not reach files, programs or the debugger";

// Upvalue 1 names the blocked function. luaL_error puts the calling line of mapinfo in front.
int RaiseBlocked(lua_State* L)
{
    return luaL_error(L, "%s %s", lua_tostring(L, lua_upvalueindex(1)), BlockedReason);
}

// __index of a blocked library (upvalue 1): any field read names itself, as in "io.open is blocked".
int RaiseBlockedField(lua_State* L)
{
    return luaL_error(L, "%s.%s %s", lua_tostring(L, lua_upvalueindex(1)), lua_tostring(L, 2), BlockedReason);
}

void BlockLibraries(lua_State* L)
{
    for (const char* library : {"io", "os", "debug", "package"})
    {
        lua_newtable(L);
        lua_newtable(L);
        lua_pushstring(L, library);
        lua_pushcclosure(L, RaiseBlockedField, 1);
        lua_setfield(L, -2, "__index");
        lua_setmetatable(L, -2);
        lua_setglobal(L, library);
    }
    for (const char* function : {"dofile", "loadfile", "require", "module", "collectgarbage"})
    {
        lua_pushstring(L, function);
        lua_pushcclosure(L, RaiseBlocked, 1);
        lua_setglobal(L, function);
    }
}

void OpenSafeLibraries(lua_State* L)
{
    const luaL_Reg libs[] = {{"", luaopen_base},
                             {LUA_TABLIBNAME, luaopen_table},
                             {LUA_STRLIBNAME, luaopen_string},
                             {LUA_MATHLIBNAME, luaopen_math}};
    for (const auto& lib : libs)
    {
        lua_pushcfunction(L, lib.func);
        lua_pushstring(L, lib.name);
        lua_call(L, 1, 0);
    }
    BlockLibraries(L);
}

// Pushes t[key] for the first string key equal to Key ignoring case (nil when absent).
void GetFieldIgnoreCase(lua_State* L, int tableIndex, const char* key)
{
    const int table = tableIndex < 0 ? lua_gettop(L) + tableIndex + 1 : tableIndex;
    lua_pushnil(L);
    while (lua_next(L, table) != 0)
    {
        if (lua_type(L, -2) == LUA_TSTRING)
        {
            std::size_t length = 0;
            const char* name = lua_tolstring(L, -2, &length);
            if (length == std::strlen(key) && strncasecmp(name, key, length) == 0)
            {
                lua_remove(L, -2);
                return;
            }
        }
        lua_pop(L, 1);
    }
    lua_pushnil(L);
}

// How a rejected value reads in a warning: numbers and strings as written, anything else by its type.
std::string DescribeValue(lua_State* L, int index)
{
    if (lua_type(L, index) == LUA_TNUMBER)
    {
        const double number = lua_tonumber(L, index);
        char text[32];
        std::snprintf(text, sizeof(text), "%g", number);
        return std::isnan(number) ? "nan" : text; // the sign of a NaN means nothing to a map author
    }
    if (lua_type(L, index) == LUA_TSTRING)
        return "'" + std::string(lua_tostring(L, index)).substr(0, 40) + "'";
    return std::string("a ") + luaL_typename(L, index);
}

// Reads the keys the viewer uses; a value of the wrong type or not finite is left out and named in
// Ignored, the way the engine falls back to its default for it.
struct ResultReader
{
    lua_State* L;
    std::vector<std::string>& Ignored;

    // Pushes the value of Key; false (nothing pushed) when it is absent or not of the wanted type.
    bool Push(int table, const std::string& path, const char* key, int type, const char* wanted)
    {
        GetFieldIgnoreCase(L, table, key);
        // Numbers and numeric strings stand for each other, as in the engine's parser.
        const bool bFits = type == LUA_TSTRING   ? lua_isstring(L, -1) != 0
                           : type == LUA_TNUMBER ? lua_isnumber(L, -1) != 0
                                                 : lua_type(L, -1) == type;
        if (!bFits && !lua_isnil(L, -1))
            Ignored.push_back(path + key + " is " + DescribeValue(L, -1) + ", not " + wanted + "; ignored");
        if (!bFits)
            lua_pop(L, 1);
        return bFits;
    }

    std::optional<std::string> GetString(int table, const std::string& path, const char* key)
    {
        if (!Push(table, path, key, LUA_TSTRING, "a string"))
            return std::nullopt;
        std::string value = lua_tostring(L, -1);
        lua_pop(L, 1);
        return value;
    }

    std::optional<float> GetNumber(int table, const std::string& path, const char* key)
    {
        if (!Push(table, path, key, LUA_TNUMBER, "a number"))
            return std::nullopt;
        const float value = static_cast<float>(lua_tonumber(L, -1));
        if (!std::isfinite(value))
            Ignored.push_back(path + key + " is " + DescribeValue(L, -1) + ", not a finite number; ignored");
        lua_pop(L, 1);
        return std::isfinite(value) ? std::optional<float>(value) : std::nullopt;
    }

    // Reads {x, y, z, ...} into Out (more entries are allowed, as in a sunDir with a distance); anything
    // else is named in Ignored and Out keeps its value.
    template <std::size_t N>
    void ReadList(int table, const std::string& path, const char* key, std::array<float, N>& Out)
    {
        if (!Push(table, path, key, LUA_TTABLE, "a table"))
            return;
        std::array<float, N> value{};
        bool bValid = true;
        for (std::size_t i = 0; i < N && bValid; ++i)
        {
            lua_rawgeti(L, -1, static_cast<int>(i) + 1);
            bValid = lua_isnumber(L, -1) && std::isfinite(lua_tonumber(L, -1));
            value[i] = static_cast<float>(lua_tonumber(L, -1));
            lua_pop(L, 1);
        }
        lua_pop(L, 1);
        if (bValid)
            Out = value;
        else
            Ignored.push_back(path + key + " is not a list of " + std::to_string(N) +
                              " finite numbers; ignored");
    }

    // A number in Min..Max into Out; outside the range it is named in Ignored and Out keeps its value.
    void ReadNumber(int table, const std::string& path, const char* key, float Min, float Max, float& Out)
    {
        const std::optional<float> value = GetNumber(table, path, key);
        if (value && (*value < Min || *value > Max))
            Ignored.push_back(path + key + " is " + DescribeNumber(*value) + ", outside " +
                              DescribeNumber(Min) + ".." + DescribeNumber(Max) + "; ignored");
        else if (value)
            Out = *value;
    }

    // Pushes the table at Key for Read, which pops it; false when there is none.
    template <typename Read> void ReadSection(int root, const char* key, Read read)
    {
        if (!Push(root, "", key, LUA_TTABLE, "a table"))
            return;
        read(lua_gettop(L), std::string(key) + ".");
        lua_pop(L, 1);
    }

    void ReadLook(int root, SpringMapLook& look)
    {
        ReadSection(root, "lighting",
                    [&](int table, const std::string& path)
                    {
                        std::array<float, 3> sunDir = look.SunDir;
                        ReadList(table, path, "sunDir", sunDir);
                        if (sunDir[0] == 0.0f && sunDir[1] == 0.0f && sunDir[2] == 0.0f)
                            Ignored.push_back(path + "sunDir is 0, 0, 0, which points nowhere; ignored");
                        else
                            look.SunDir = sunDir;
                        ReadList(table, path, "groundAmbientColor", look.GroundAmbient);
                        ReadList(table, path, "groundDiffuseColor", look.GroundDiffuse);
                        ReadList(table, path, "groundSpecularColor", look.GroundSpecular);
                        ReadNumber(table, path, "specularExponent", 0.0f, 1e4f, look.SpecularExponent);
                    });
        ReadSection(root, "atmosphere",
                    [&](int table, const std::string& path)
                    {
                        ReadList(table, path, "skyColor", look.SkyColour);
                        ReadList(table, path, "fogColor", look.FogColour);
                        float fogStart = look.FogStart, fogEnd = look.FogEnd;
                        ReadNumber(table, path, "fogStart", 0.0f, 1e6f, fogStart);
                        ReadNumber(table, path, "fogEnd", 0.0f, 1e6f, fogEnd);
                        if (fogStart < fogEnd)
                            look.FogStart = fogStart, look.FogEnd = fogEnd;
                        else
                            Ignored.push_back(path + "fogStart " + DescribeNumber(fogStart) +
                                              " is not below fogEnd " + DescribeNumber(fogEnd) +
                                              "; both ignored");
                    });
        ReadSection(root, "water",
                    [&](int table, const std::string& path)
                    {
                        ReadList(table, path, "surfaceColor", look.WaterSurface);
                        ReadNumber(table, path, "surfaceAlpha", 0.0f, 1.0f, look.WaterSurfaceAlpha);
                        ReadList(table, path, "absorb", look.WaterAbsorb);
                        ReadList(table, path, "baseColor", look.WaterBase);
                        ReadList(table, path, "minColor", look.WaterMin);
                    });
        ReadSection(root, "splats",
                    [&](int table, const std::string& path)
                    {
                        ReadList(table, path, "texScales", look.SplatTexScales);
                        ReadList(table, path, "texMults", look.SplatTexMults);
                    });
    }

    static std::string DescribeNumber(float value)
    {
        char text[32];
        std::snprintf(text, sizeof(text), "%g", value);
        return text;
    }

    void Read(SpringMapInfo& info)
    {
        const int root = lua_gettop(L);
        info.Name = GetString(root, "", "name");
        info.MapFile = GetString(root, "", "mapfile");
        info.MaxMetal = GetNumber(root, "", "maxmetal");
        ReadLook(root, info.Look);
        ReadSection(
            root, "resources",
            [&](int table, const std::string& path)
            {
                for (const char* key : {"detailTex", "specularTex", "splatDistrTex", "splatDetailTex"})
                    if (std::optional<std::string> name = GetString(table, path, key); name && !name->empty())
                        info.Textures.emplace_back(key, std::move(*name));
            });
        if (!Push(root, "", "smf", LUA_TTABLE, "a table"))
            return;
        const int smf = lua_gettop(L);
        info.MinHeight = GetNumber(smf, "smf.", "minheight");
        info.MaxHeight = GetNumber(smf, "smf.", "maxheight");
        for (int n = 0;; ++n)
        {
            const std::string key = "smtfilename" + std::to_string(n);
            std::optional<std::string> name = GetString(smf, "smf.", key.c_str());
            if (!name)
                break;
            info.SmtFileNames.push_back(std::move(*name));
        }
        lua_pop(L, 1);
    }
};

int RunProtected(lua_State* L)
{
    auto* pInfo = static_cast<SpringMapInfo*>(lua_touserdata(L, 1));
    lua_pushvalue(L, 2);
    lua_call(L, 0, 1);
    if (!lua_istable(L, -1))
        return luaL_error(L, "mapinfo did not return a table (it returned %s)", luaL_typename(L, -1));
    ResultReader{L, pInfo->Ignored}.Read(*pInfo); // only reads; raises nothing but memory errors
    return 0;
}
} // namespace

bool Run(const std::string& Source, const std::string& ChunkName, SpringMapArchive& Archive,
         SpringMapInfo& Out, std::string& Error, const SpringMapFiles::Limits& Caps)
{
    Sandbox sandbox;
    sandbox.pArchive = &Archive;
    sandbox.Caps = Caps;
    sandbox.Deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(Caps.MapInfoMs);
    std::unique_ptr<lua_State, void (*)(lua_State*)> state(lua_newstate(CappedAlloc, &sandbox), &lua_close);
    lua_State* L = state.get();
    if (!L)
    {
        Error = ChunkName + ": cannot start Lua";
        return false;
    }
    OpenSafeLibraries(L);
    InstallStubs(L);
    lua_sethook(L, CountInstructions, LUA_MASKCOUNT, HookEveryInstructions);
    SpringMapInfo info;
    const std::string chunkName = "@" + ChunkName;
    int status = luaL_loadbuffer(L, Source.data(), Source.size(), chunkName.c_str());
    if (status == 0)
    {
        lua_pushcfunction(L, RunProtected);
        lua_pushlightuserdata(L, &info);
        lua_pushvalue(L, -3);
        status = lua_pcall(L, 2, 0, 0);
    }
    if (status != 0)
    {
        const char* message = lua_tostring(L, -1);
        Error = SpringMapFiles::OneLine(message ? std::string(message) : ChunkName + ": failed");
        if (status == LUA_ERRMEM)
            Error += " (mapinfo may use " + std::to_string(Caps.MapInfoBytes >> 20) + " MiB)";
        return false;
    }
    Out = std::move(info);
    return true;
}
} // namespace SpringMapInfoLua
