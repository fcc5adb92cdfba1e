// quindle-mapgen: writes the generated map as an .smf/.smt pair any Spring map reader can open.
#include <CLI/CLI.hpp>
#include <cstdio>

#include "springmap_generator.h"

int main(int argc, char** argv)
{
    CLI::App app{"Writes a generated Spring map (.smf + .smt): hills, a ridge, a valley and a plateau."};
    SpringMapGenerator::Options opts;
    std::string outDir = ".", name = "quindle-map";
    app.add_option("--seed", opts.Seed, "the same seed gives the same bytes");
    app.add_option("--width", opts.MapX, "squares west to east, a multiple of 4")->check(CLI::Range(4, 4096));
    app.add_option("--depth", opts.MapY, "squares north to south, a multiple of 4")
        ->check(CLI::Range(4, 4096));
    app.add_option("--min-height", opts.MinHeight, "height of the lowest raw value");
    app.add_option("--max-height", opts.MaxHeight, "height of the highest raw value");
    app.add_option("--features", opts.FeatureCount, "trees, rocks and geovents to place")
        ->check(CLI::Range(0, 100000));
    app.add_option("--out", outDir, "folder for the two files");
    app.add_option("--name", name, "base name of the two files");
    CLI11_PARSE(app, argc, argv);
    std::string smfPath, error;
    if (!SpringMapGenerator::WriteFiles(opts, outDir, name, smfPath, error))
    {
        std::fprintf(stderr, "quindle-mapgen: %s\n", error.c_str());
        return 1;
    }
    std::printf("%s\n", smfPath.c_str());
    return 0;
}
