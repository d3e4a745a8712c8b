// The tour's page: panels by subsystem, each with its pictures, parameters and times. Pictures are written as PNG
// files at once; the page, which carries smaller copies of them all, is written at the end as one file.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "drawing.h"
#include "picture.h"

namespace tour {

// A photograph that the tour visits.
struct Subject {
  std::string name;   // as the page shows it: the file's name
  std::string key;    // what the names of its PNG files begin with
  RvpiSize fileSize;  // as it came from the file
  Picture picture;    // as the panels use it: not larger than what reads well on a page
  bool first;         // the first of the tour: panels that need only one photograph run on this one
};

// What a panel shows, whatever the photograph.
struct Panel {
  std::string subsystem;
  std::string id;  // in the page's links and in file names: small letters and hyphens
  std::string title;
  std::vector<std::string> operations;
  std::string text;  // one or two sentences that say what one sees
};

struct Parameter {
  std::string name;
  std::string value;
};

struct Timing {
  std::string what;
  double milliseconds;
};

// A strip of the colours below a picture, with labels at even distances.
struct Legend {
  std::string title;
  ColourMap map;
  std::vector<std::string> labels;
};

struct Figure {
  std::string name;  // in the file's name: small letters and hyphens; empty for the photograph itself
  std::string caption;
  Picture picture;
  std::optional<Legend> legend = std::nullopt;
};

// Rows of text below the figures. The first column names a row, the others hold numbers.
struct Table {
  std::vector<std::string> head;
  std::vector<std::vector<std::string>> rows;
};

// A panel's results on one photograph.
struct Strip {
  std::vector<Parameter> parameters;
  std::vector<Timing> times;
  std::vector<Figure> figures;
  std::optional<Table> table = std::nullopt;
};

class Page {
 public:
  // Makes the directory. Trouble with files ends the program.
  explicit Page(std::filesystem::path directory);

  // Panels appear in the order in which they are added first, subsystems likewise; a panel that is added again with
  // another photograph gets a further strip.
  void add(const Panel& panel, const Subject& subject, const Strip& strip);

  // Writes the page and tells its file.
  std::filesystem::path finish(const std::vector<Subject>& subjects);

 private:
  // A picture as the page carries it; one that is shown several times is carried once.
  struct Embedded {
    std::string dataUri;
    RvpiSize size;
    int uses;
  };
  struct PlacedFigure {
    std::size_t picture;
    std::string caption;
    std::optional<Legend> legend;
  };
  struct PlacedStrip {
    std::string subject;
    RvpiSize size;
    std::vector<Parameter> parameters;
    std::vector<Timing> times;
    std::vector<PlacedFigure> figures;
    std::optional<Table> table;
  };
  struct PlacedPanel {
    Panel panel;
    std::vector<PlacedStrip> strips;
  };
  struct Subsystem {
    std::string title;
    std::vector<PlacedPanel> panels;
  };

  PlacedPanel& place(const Panel& panel);
  std::size_t embed(const Picture& picture, int longSide);
  void write(const std::string& name, const std::string& bytes) const;

  std::string contents() const;
  std::string pictureHtml(const PlacedFigure& figure) const;
  std::string figureHtml(const PlacedFigure& figure) const;
  std::string factsHtml(const PlacedStrip& strip) const;
  std::string figuresHtml(const PlacedStrip& strip) const;
  std::string panelHtml(const PlacedPanel& panel) const;

  std::filesystem::path directory_;
  std::vector<Subsystem> subsystems_;
  std::vector<Embedded> pictures_;
  std::map<std::string, std::size_t> pictureByUri_;
};

}  // namespace tour
