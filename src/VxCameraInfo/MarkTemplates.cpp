// The set of fiducial mark templates in settings files. The loader reads lower-case keys while
// the saver writes upper camel case ones; a reader that maps the names bridges the two.

#include "VxCameraInfo.h"
#include "VxXIni.h"
#include "internal/VxSettingsIO.h"

void TCameraMarkTemplates::SaveE(TVxXIniWriter* writer) const {
  WriteChecked<double>(writer, "TemplatePixelSizeMkm", templatePixelSize);
  WritePoint(writer, "DefaultScanSizeMm", defaultScanSize);
  const TVxXIniSectionHandle list = writer->BeginSectionSE("MarkTemplates");
  for (const TMarkTemplate& mark : templates) {
    const TVxXIniSectionHandle element = writer->BeginSectionSE("");
    WriteChecked<int>(writer, "TemplateIndex", mark.index);
    WritePoint(writer, "Coords_cam", mark.coordsCam);
    WriteChecked<std::string>(writer, "FileName", mark.fileName);
    WriteSize(writer, "HalfSizeReduced", mark.halfSizeReduced);
    if (mark.minCorrHalfSize != 0) {
      WriteChecked<unsigned long>(writer, "MinCorrHalfSize", mark.minCorrHalfSize);
    }
    writer->EndSectionE(element);
  }
  writer->EndSectionE(list);
}

void TCameraMarkTemplates::LoadE(TVxXIniReader* reader) {
  const double pixelSize = ReadRequired<double>(reader, "template_pixel_size_um");
  const vec_t_<double, 2> scanSize = ReadPointE(reader, "default_scan_size_mm");
  std::vector<TMarkTemplate> loaded;
  const TVxXIniSectionHandle list = reader->EnterSectionSE("mark_templates");
  ForEachListEntry(reader, [&] {
    TMarkTemplate mark;
    mark.index = ReadRequired<int>(reader, "template_index");
    mark.coordsCam = ReadPointE(reader, "coords_cam");
    mark.fileName = ReadRequired<std::string>(reader, "filename");
    mark.halfSizeReduced = ReadSizeE(reader, "half_size_reduced");
    mark.minCorrHalfSize = ReadOptional<unsigned long>(reader, "min_corr_half_size", 0);
    loaded.push_back(std::move(mark));
  });
  reader->LeaveSectionE(list);
  templatePixelSize = pixelSize;
  defaultScanSize = scanSize;
  templates = std::move(loaded);
}
