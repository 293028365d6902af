// The camera record in settings files: the strict and the tolerant reader share the marks.

#include "VxCameraInfo.h"
#include "VxEOL.h"
#include "VxXIni.h"
#include "internal/VxSettingsIO.h"

namespace {

using TOrigin = TVxCameraInfo::TDigitalCameraOrigin;

bool UsesTemplateId(TCameraType type) {
  return type == TCameraType::Cross || type == TCameraType::CalibratedCross ||
         type == TCameraType::Fiducials;
}

void SaveFiducials(TVxXIniWriter* writer, const TVxCameraInfo& camera) {
  const TVxXIniSectionHandle section = writer->BeginSectionSE("fiducials");
  for (const TVxCameraInfo::TFiducial& mark : camera.fiducials) {
    const TVxXIniSectionHandle element = writer->BeginSectionCompactSE("");
    WriteChecked<int>(writer, "index", mark.index);
    WritePoint(writer, "coords_cam", mark.coordsCam);
    // Without a template set the mark's own number names its template.
    if (!camera.fiducialTemplateId.empty()) {
      WriteChecked<int>(writer, "template_index", mark.templateIndex);
    }
    writer->EndSectionE(element);
  }
  writer->EndSectionE(section);
}

void SaveMarks(TVxXIniWriter* writer, const TVxCameraInfo& camera) {
  const TCameraType type = camera.cameraType;
  WriteChecked<std::string>(writer, "type",
                            CameraTypeToTextE(type, "@SaveMarks: invalid camera type"));
  if (type == TCameraType::Digital) {
    WritePoint(writer, "pixel_size", camera.pixelSize);
    WriteSize(writer, "sensor_dims", camera.sensorDims);
  }
  if (type == TCameraType::CalibratedCross) {
    WriteChecked<double>(writer, "length_x", camera.lengthX);
    WriteChecked<double>(writer, "length_y", camera.lengthY);
  }
  if (type == TCameraType::Fiducials) SaveFiducials(writer, camera);
  if (UsesTemplateId(type) && !camera.fiducialTemplateId.empty()) {
    WriteChecked<std::string>(writer, "fiducial_template_id", camera.fiducialTemplateId);
  }
  if (type == TCameraType::Digital) {
    WriteChecked<std::string>(
        writer, "digital_camera_origin",
        DigitalCameraOriginToTextE(camera.digitalCameraOrigin,
                                   "@SaveMarks: invalid DigitalCameraOrigin"));
  }
}

void LoadFiducials(TVxXIniReader* reader, TVxCameraInfo* camera) {
  const TVxXIniSectionHandle section = reader->EnterSectionSE("fiducials");
  ForEachListEntry(reader, [&] {
    TVxCameraInfo::TFiducial mark;
    mark.index = ReadRequired<int>(reader, "index");
    mark.coordsCam = ReadPointE(reader, "coords_cam");
    // A file without template numbers maps each mark to the template of its own number.
    mark.templateIndex = ReadOptional<int>(reader, "template_index", mark.index);
    camera->fiducials.push_back(mark);
  });
  reader->LeaveSectionE(section);
}

// Reads the contents of the entered "int_or" section into `camera`, in place.
void LoadMarksE(TVxXIniReader* reader, TVxCameraInfo* camera) {
  const TCameraType type = TextToCameraType(ReadRequired<std::string>(reader, "type"));
  if (static_cast<std::int32_t>(type) == 0) reader->throw_error_valueS("type");
  camera->cameraType = type;
  if (type == TCameraType::Digital) {
    // Optional: a missing size keeps what the record holds.
    const TVxXIniPosition pixelSize = reader->FindF("pixel_size", 0);
    if (pixelSize != kVxXIniNotFound) {
      camera->pixelSize = ReadPairAt<double, vec_t_<double, 2>>(reader, pixelSize);
    }
    const TVxXIniPosition sensorDims = reader->FindF("sensor_dims", 0);
    if (sensorDims != kVxXIniNotFound) {
      camera->sensorDims = ReadPairAt<unsigned long, TVxSize2>(reader, sensorDims);
    }
  }
  if (type == TCameraType::CalibratedCross) {
    camera->lengthX = ReadRequired<double>(reader, "length_x");
    camera->lengthY = ReadRequired<double>(reader, "length_y");
  }
  if (type == TCameraType::Fiducials) LoadFiducials(reader, camera);
  if (UsesTemplateId(type)) {
    camera->fiducialTemplateId = reader->ReadS<std::string>("fiducial_template_id", "");
  }
  if (type == TCameraType::Digital) {
    const std::string origin = reader->ReadS<std::string>("digital_camera_origin", "");
    camera->digitalCameraOrigin =
        origin.empty() ? TOrigin::Center : TextToDigitalCameraOrigin(origin);
    if (static_cast<std::int32_t>(camera->digitalCameraOrigin) == -1) {
      reader->throw_error_valueS("digital_camera_origin");
    }
  }
}

}  // namespace

void TVxCameraInfo::SaveE(TVxXIniWriter* writer) const {
  WriteChecked<std::string>(writer, "name", name);
  WriteChecked<std::string>(writer, "calibration_date", calibrationDate);
  writer->WriteLongStringSE("description", VxNormalizeEOL(description, TEOLType::LF));
  WriteChecked<double>(writer, "focus", focus);
  WritePoint(writer, "principal_point", principalPoint);

  const TVxXIniSectionHandle marks = writer->BeginSectionSE("int_or");
  SaveMarks(writer, *this);
  writer->EndSectionE(marks);

  const TVxXIniSectionHandle lens = writer->BeginSectionSE("distortion");
  distortion.SaveE(writer);
  writer->EndSectionE(lens);
}

void TVxCameraInfo::LoadE(TVxXIniReader* reader) {
  TVxCameraInfo loaded;
  loaded.name = ReadRequired<std::string>(reader, "name");
  loaded.calibrationDate = ReadRequired<std::string>(reader, "calibration_date");
  loaded.description = VxNormalizeEOL(reader->ReadLongStringSE("description"), TEOLType::CRLF);
  loaded.focus = ReadRequired<double>(reader, "focus");
  loaded.principalPoint = ReadPointE(reader, "principal_point");

  const TVxXIniSectionHandle marks = reader->EnterSectionSE("int_or");
  LoadMarksE(reader, &loaded);
  reader->LeaveSectionE(marks);

  // The working record's distortion is reset, so a stored None gives None.
  const TVxXIniSectionHandle lens = reader->EnterSectionSE("distortion");
  loaded.distortion.LoadE(reader);
  reader->LeaveSectionE(lens);

  *this = std::move(loaded);
}

bool TVxCameraInfo::Load(TVxXIniReader* reader) {
  // A file that says nothing about marks describes a digital camera, as CreateDefaultCamera.
  Reset();
  cameraType = TCameraType::Digital;
  name = reader->ReadS<std::string>("name", name);
  calibrationDate = reader->ReadS<std::string>("calibration_date", calibrationDate);
  description = VxNormalizeEOL(reader->ReadLongStringS("description", description), TEOLType::CRLF);
  focus = ReadOptional<double>(reader, "focus", focus);
  principalPoint.LoadS(reader, "principal_point");

  const TVxXIniSectionHandle marks = reader->EnterSectionS("int_or");
  if (marks != kVxXIniNoSection) {
    LoadMarksE(reader, this);
    reader->LeaveSection(marks);
  }
  const TVxXIniSectionHandle lens = reader->EnterSectionS("distortion");
  if (lens == kVxXIniNoSection) return true;
  distortion.LoadE(reader);
  reader->LeaveSection(lens);
  return true;
}

void XIniLoadE(TVxXIniReader* reader, TVxCameraInfo& camera) {
  camera.LoadE(reader);
}

void XIniSaveE(TVxXIniWriter* writer, const TVxCameraInfo& camera) {
  camera.SaveE(writer);
}
