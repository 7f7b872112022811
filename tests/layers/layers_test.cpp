#include "tests/layers/include_check.h"
#include "tests/layers/layer_table.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Pair;
using testing::StartsWith;

LayerTable tableFrom(const std::string& text) {
    std::istringstream stream(text);
    return readLayerTable(stream);
}

/// A small tree of a project, with headers of Qt beside it, in which nothing is wrong.
class Project {
public:
    Project() {
        write("base/base.h", "#include <vector>\n");
        write("base/system/base.cpp", "#include \"base/base.h\"\n#include <codec/decode.h>\n#include <unistd.h>\n");
        write("desk/store.h", "#include <QString>\n#include <codec/decode.h>\n");
        write("desk/window.h", "#include \"desk/store.h\"\n#include <QPushButton>\n");
        write("middle/middle.h", "  #  include \"base/base.h\"\n#include <QString>\n#include <QtCore/QObject>\n");
        write("middle/middle.cpp", "#include \"middle/middle.h\"\n#include \"desk/store.h\"\n");
        write("middle/view.cpp", "#include \"middle/middle.h\"\n#include \"desk/window.h\"\n#include <QPushButton>\n"
                                 "#include \"view.moc\"\n");
        write("tests/anything.cpp", "#include <codec/decode.h>\n#include \"../nowhere.h\"\n");
        write(".hidden/anything.cpp", "#include \"../nowhere.h\"\n");
        folder_.write("qt/QtCore/QString", "");
        folder_.write("qt/QtWidgets/QPushButton", "");
    }

    void write(const std::string& file, const std::string& text) { folder_.write("project/" + file, text); }

    IncludeReport check() const { return checkIncludes(table_, folder_ / "project", folder_ / "qt"); }

private:
    TemporaryFolder folder_;
    LayerTable table_ = tableFrom("library codec codec/ codec.h\n"
                                  "layer base\n"
                                  "  files base/\n"
                                  "layer base-system # the part that a system gives\n"
                                  "  files base/system/\n"
                                  "  includes base\n"
                                  "  libraries codec\n"
                                  "layer desk\n"
                                  "  files desk/\n"
                                  "  qt Core Widgets\n"
                                  "  libraries codec\n"
                                  "layer middle\n"
                                  "  files middle/\n"
                                  "  includes base desk\n"
                                  "  qt Core\n"
                                  "layer view\n"
                                  "  files middle/view\n"
                                  "  includes desk middle\n"
                                  "  qt Core Widgets\n"
                                  "unchecked tests/\n");
};

} // namespace

TEST(Layers, AreKeptByEveryIncludeOfTheProgram) {
    std::ifstream text(OVREL_SOURCE_FOLDER "/tests/layers/layers.txt");
    ASSERT_TRUE(text);

    const IncludeReport report = checkIncludes(readLayerTable(text), OVREL_SOURCE_FOLDER, OVREL_QT_HEADERS);

    EXPECT_THAT(report.faults, IsEmpty());
    for (const char* layer : {"encoder", "platform", "platform-linux", "conversion", "cli"}) {
        EXPECT_THAT(report.filesRead, testing::Contains(Key(layer)));
    }
}

TEST(IncludeCheck, AcceptsWhatTheTableAllows) {
    const IncludeReport report = Project().check();
    EXPECT_THAT(report.faults, IsEmpty());
    EXPECT_THAT(report.filesRead, ElementsAre(Pair("base", 1), Pair("base-system", 1), Pair("desk", 2),
                                              Pair("middle", 2), Pair("view", 1)));
}

TEST(IncludeCheck, NamesTheFileAndLineOfWhatTheTableDoesNotAllow) {
    struct Row {
        const char* what;
        const char* file;
        const char* include;
        const char* fault;
    };
    const Row rows[] = {
        {"an arrow upwards, which closes a circle", "base/a.h", "#include \"middle/middle.h\"",
         "base may not include middle/middle.h of middle"},
        {"an arrow over a layer that is not named", "middle/view.h", "#include \"base/base.h\"",
         "view may not include base/base.h of base"},
        {"a circle inside one folder", "middle/a.h", "#include \"middle/view.h\"",
         "middle may not include middle/view.h of view"},
        {"an implementation instead of its interface", "middle/a.cpp", "#include \"base/system/a.h\"",
         "middle may not include base/system/a.h of base-system"},
        {"a detour", "base/a.cpp", "#include \"base/../middle/a.h\"", "base may not include middle/a.h of middle"},
        {"brackets", "base/a.cpp", "#include <middle/a.h>", "base may not include middle/a.h of middle"},
        {"blanks", "base/a.cpp", "\t# \tinclude\t\"middle/a.h\"", "base may not include middle/a.h of middle"},
        {"C", "base/a.c", "#include \"middle/a.h\"", "base may not include middle/a.h of middle"},
        {"Qt where there is none", "base/a.cpp", "#include <QString>", "base may not use QString of Qt module Core"},
        {"another module of Qt", "middle/a.cpp", "#include <QPushButton>",
         "middle may not use QPushButton of Qt module Widgets"},
        {"a module of Qt by name", "middle/a.cpp", "#include <QtWidgets/QLabel>",
         "middle may not use QtWidgets/QLabel of Qt module Widgets"},
        {"Qt that is not installed", "view/../middle/view.h", "#include <QSomething>",
         "view may not use QSomething of Qt module ?"},
        {"a library", "base/a.cpp", "#include <codec/decode.h>", "base may not use the library codec"},
        {"a library in quotes", "middle/a.cpp", "#include \"codec.h\"", "middle may not use the library codec"},
        {"a test", "base/a.cpp", "#include \"tests/a.h\"", "tests/a.h is no part of the program"},
        {"a neighbour", "base/a.cpp", "#include \"base.h\"", "base.h is not written from the project's root"},
        {"a macro", "base/a.cpp", "#include HEADER", "the included file's name does not stand in quotes or brackets"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Project project;
        project.write(row.file, std::string("#pragma once\n") + row.include + "\n");
        const std::string place = std::filesystem::path(row.file).lexically_normal().native() + ":2: ";
        EXPECT_THAT(project.check().faults, ElementsAre(place + row.fault));
    }
}

TEST(IncludeCheck, NamesTheWayToAModuleOfQtThatComesWithAHeader) {
    struct Row {
        const char* what;
        std::map<std::string, std::string> files;
        std::vector<std::string> faults;
    };
    const std::string refused = "middle may not use QPushButton of Qt module Widgets, which comes with ";
    const Row rows[] = {
        {"the header itself",
         {{"middle/a.cpp", "#include \"desk/window.h\"\n"}},
         {"middle/a.cpp:1: " + refused + "desk/window.h"}},
        {"a header behind another, by the shortest way",
         {{"middle/a.cpp", "#include \"desk/a.h\"\n"},
          {"desk/a.h", "#include \"desk/b.h\"\n#include \"desk/c.h\"\n"},
          {"desk/b.h", "#include \"desk/c.h\"\n"},
          {"desk/c.h", "#include \"desk/../desk/window.h\"\n"}},
         {"middle/a.cpp:1: " + refused + "desk/a.h > desk/c.h > desk/window.h"}},
        {"headers that include each other",
         {{"middle/a.cpp", "#include \"desk/a.h\"\n"},
          {"desk/a.h", "#include \"desk/b.h\"\n"},
          {"desk/b.h", "#include \"desk/a.h\"\n"}},
         {}},
        {"a header of the same layer, which alone is told",
         {{"middle/a.cpp", "#include \"middle/a.h\"\n"}, {"middle/a.h", "\n#include \"desk/window.h\"\n"}},
         {"middle/a.h:2: " + refused + "desk/window.h"}},
        {"a header that is not installed",
         {{"middle/a.cpp", "#include \"desk/a.h\"\n"}, {"desk/a.h", "#include <QtWidgets/QNew>\n"}},
         {"middle/a.cpp:1: middle may not use QtWidgets/QNew of Qt module Widgets, which comes with desk/a.h"}},
        {"a header that is not there", {{"middle/a.cpp", "#include \"desk/gone.h\"\n"}}, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Project project;
        for (const auto& [file, text] : row.files) {
            project.write(file, text);
        }
        EXPECT_THAT(project.check().faults, ElementsAreArray(row.faults));
    }
}

TEST(IncludeCheck, RefusesAFileOfNoLayer) {
    Project project;
    project.write("elsewhere/a.cpp", "");
    EXPECT_THAT(project.check().faults, ElementsAre("elsewhere/a.cpp: belongs to no layer"));
}

TEST(LayerTable, RefusesALineThatItDoesNotUnderstand) {
    struct Row {
        const char* text;
        const char* error;
    };
    const Row rows[] = {
        {"layer a\n  includes b\nlayer b\n  includes a\n", "b stands nowhere above"}, // a circle
        {"layer a\n  includes a\n", "a stands nowhere above"},
        {"layer a\n  libraries a\n", "a stands nowhere above"},
        {"layer a\n  include b\n", "the keyword is not known"},
        {"layer a\n  files # none\n", "nothing follows the keyword"},
        {"# the layer is missing\n  files a/\n", "no layer stands above"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        try {
            tableFrom(row.text);
            ADD_FAILURE() << "nothing was refused";
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), AllOf(StartsWith("line 2: "), HasSubstr(row.error)));
        }
    }
}

} // namespace ovrel::test
