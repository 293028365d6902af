// Agisoft Metashape calibration XML (root <calibration>, <projection>frame</projection>,
// <width>, <height>, <f>, <cx>, <cy> as offsets from the image centre, <b1>, <b2>, <k1>..<k4>,
// <p1>..<p4>) and the older PhotoScan / Agisoft Lens form (<fx>, <fy>, absolute <cx>, <cy>,
// <skew>). Pixel origin: the outer corner of the top-left pixel.
//
// Metashape:  x' = x (1 + K1 r2 + ... + K4 r8) + (P1 (r2 + 2 x2) + 2 P2 x y)(1 + P3 r2 + P4 r4)
//             u = w / 2 + cx + x' (f + B1) + y' B2,  v = h / 2 + cy + y' f
// Its P1 is OpenCV's p2 and its P2 OpenCV's p1; the older form names them as OpenCV does
// (x' = ... + P2 (r2 + 2 x2) + 2 P1 x y, u = cx + x' fx + y' skew).
#include "ExchangeText.h"
#include "FormatIo.h"
#include "XmlFiles.h"

namespace vx_exchange {
namespace {

// The file being read: its text and name, for the line and column of a bad value.
struct TSource {
  const std::string& content;
  const std::string& path;
};

double Number(const pugi::xml_node& root, const char* key, const TSource& source, bool required) {
  const std::string text = ChildText(root, key);
  if (text.empty()) {
    if (required) Fail(source.path, key, "missing key");
    return 0.0;
  }
  return ParseNumberE(text, XmlWhere(source.content, source.path, root.child(key)), key);
}

TPixelCamera Read(const std::string& content, const TVxExchangeOptions& options) {
  const std::string& path = options.path;
  pugi::xml_document document;
  LoadXmlE(&document, content, path);
  const pugi::xml_node root = document.child("calibration");
  if (!root) Fail(path, "calibration", "missing root element");
  const std::string projection = ChildText(root, "projection");
  if (!projection.empty() && projection != "frame")
    Fail(XmlWhere(content, path, root.child("projection")), "projection",
         "the projection '" + projection + "' cannot be represented");
  const TSource source{content, path};
  TPixelCamera c;
  c.width = ParseCountE(ChildText(root, "width"), path, "width");
  c.height = ParseCountE(ChildText(root, "height"), path, "height");
  const double halfW = static_cast<double>(c.width) / 2.0;
  const double halfH = static_cast<double>(c.height) / 2.0;
  const bool old = !root.child("f") && root.child("fx");
  for (int i = 0; i < 4; ++i)
    c.k[static_cast<std::size_t>(i)] =
        Number(root, ("k" + std::to_string(i + 1)).c_str(), source, false);
  const double p1 = Number(root, "p1", source, false), p2 = Number(root, "p2", source, false);
  c.p3 = Number(root, "p3", source, false);
  c.p4 = Number(root, "p4", source, false);
  if (old) {
    c.model = "PhotoScan fx/fy";
    c.fx = Number(root, "fx", source, true);
    c.fy = Number(root, "fy", source, true);
    c.cx = Number(root, "cx", source, true) - 0.5;
    c.cy = Number(root, "cy", source, true) - 0.5;
    c.skew = Number(root, "skew", source, false);
    c.p1 = p1;
    c.p2 = p2;
  } else {
    c.model = "Metashape f";
    c.fy = Number(root, "f", source, true);
    c.fx = c.fy + Number(root, "b1", source, false);
    c.skew = Number(root, "b2", source, false);
    c.cx = halfW + Number(root, "cx", source, false) - 0.5;
    c.cy = halfH + Number(root, "cy", source, false) - 0.5;
    c.p1 = p2;
    c.p2 = p1;
  }
  if (!(c.fx > 0.0) || !(c.fy > 0.0))
    Fail(path, old ? "fx" : "f",
         "the focal length must be greater than 0, found " + ShortestText(c.fx) + ", " +
             ShortestText(c.fy));
  return c;
}

std::vector<TParam> Params(const TPixelCamera& c, std::string* model) {
  *model = "Metashape f";
  const double halfW = static_cast<double>(c.width) / 2.0;
  const double halfH = static_cast<double>(c.height) / 2.0;
  // fy is f and fx is f + b1: f comes first, so that b1's setter finds it.
  return {
      {"f", c.fy, [](TPixelCamera& p, double v) { p.fy = v; }, {}},
      {"b1", c.fx - c.fy, [](TPixelCamera& p, double v) { p.fx = p.fy + v; }, {}},
      {"cx",
       c.cx + 0.5 - halfW,
       [halfW](TPixelCamera& p, double v) { p.cx = halfW + v - 0.5; },
       {}},
      {"cy",
       c.cy + 0.5 - halfH,
       [halfH](TPixelCamera& p, double v) { p.cy = halfH + v - 0.5; },
       {}},
      {"k1", c.k[0], [](TPixelCamera& p, double v) { p.k[0] = v; }, {}},
      {"k2", c.k[1], [](TPixelCamera& p, double v) { p.k[1] = v; }, {}},
      {"k3", c.k[2], [](TPixelCamera& p, double v) { p.k[2] = v; }, {}},
      {"k4", c.k[3], [](TPixelCamera& p, double v) { p.k[3] = v; }, {}},
      {"p1", c.p2, [](TPixelCamera& p, double v) { p.p2 = v; }, {}},
      {"p2", c.p1, [](TPixelCamera& p, double v) { p.p1 = v; }, {}},
      {"p3", c.p3, [](TPixelCamera& p, double v) { p.p3 = v; }, {}},
      {"p4", c.p4, [](TPixelCamera& p, double v) { p.p4 = v; }, {}},
  };
}

std::string Write(const std::vector<TParam>& params, const TPixelCamera& c,
                  const TVxExchangeOptions&) {
  pugi::xml_document document;
  pugi::xml_node declaration = document.append_child(pugi::node_declaration);
  declaration.append_attribute("version") = "1.0";
  declaration.append_attribute("encoding") = "UTF-8";
  pugi::xml_node root = document.append_child("calibration");
  root.append_child("projection").text() = "frame";
  root.append_child("width").text() = std::to_string(c.width).c_str();
  root.append_child("height").text() = std::to_string(c.height).c_str();
  // f, cx, cy and the terms of plumb_bob always; b1, k4, p3, p4 only when used.
  for (const TParam& p : params) {
    const bool always = p.name == "f" || p.name == "cx" || p.name == "cy" || p.name == "k1" ||
                        p.name == "k2" || p.name == "k3" || p.name == "p1" || p.name == "p2";
    if (always || p.value != 0.0) root.append_child(p.name.c_str()).text() = p.text.c_str();
  }
  return SaveXml(document);
}

}  // namespace

TFormatIo MetashapeIo() {
  TFormatIo io;
  io.read = Read;
  io.params = Params;
  io.write = Write;
  io.holdsProfile = true;
  return io;
}

}  // namespace vx_exchange
