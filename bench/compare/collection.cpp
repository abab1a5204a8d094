// Writes a collection into a folder: packages.csv, dependencies.csv and arguments.tsv.
//
//   compare_collection CATALOGUE FOLDER             the packages of the catalogue
//   compare_collection CATALOGUE FOLDER COUNT SEED  so many packages made from its vocabulary
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/compare/Catalogue.h"
#include "bench/compare/Csv.h"
#include "bench/compare/Statistics.h"
#include "bench/compare/Synthesis.h"

namespace {

using namespace compare;

class Writer {
public:
    explicit Writer(const std::string& folder)
        : folder_(folder), packages_(folder + "/packages.csv"), dependencies_(folder + "/dependencies.csv") {
        packages_.row({"NAME", "VERSION", "SECTION", "INSTALLED_SIZE", "DESCRIPTION"});
        dependencies_.row({"PACKAGE", "TARGET"});
    }

    void add(const Package& package) {
        packages_.row({package.name, package.version, package.section, std::to_string(package.size),
                       package.description});
        for (const std::string& target : package.targets) dependencies_.row({package.name, target});
        statistics_.add(package);
    }

    bool finish(uint64_t seed) {
        return packages_.close() && dependencies_.close() &&
               statistics_.write(folder_ + "/arguments.tsv", seed);
    }

private:
    std::string folder_;
    CsvWriter packages_;
    CsvWriter dependencies_;
    Statistics statistics_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 && argc != 5) {
        std::fprintf(stderr, "usage: compare_collection CATALOGUE FOLDER [COUNT SEED]\n");
        return 2;
    }
    const std::vector<Package> catalogue = readCatalogue(argv[1]);
    if (catalogue.empty()) {
        std::fprintf(stderr, "compare_collection: no packages in %s\n", argv[1]);
        return 1;
    }
    Writer writer(argv[2]);
    const uint64_t seed = argc == 5 ? std::strtoull(argv[4], nullptr, 10) : 1;
    if (argc == 3) {
        for (const Package& package : catalogue) writer.add(package);
    } else {
        Synthesis synthesis(catalogue, seed);
        const uint64_t count = std::strtoull(argv[3], nullptr, 10);
        for (uint64_t n = 0; n < count; ++n) writer.add(synthesis.make(n));
    }
    if (writer.finish(seed)) return 0;
    std::fprintf(stderr, "compare_collection: cannot write to %s\n", argv[2]);
    return 1;
}
