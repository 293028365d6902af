#!/usr/bin/python3
"""The JSON Schemas of docs/schemas/ against the file reference and the example files.

    check_schemas.py SOURCE_DIR                 run every check (the test)
    check_schemas.py --validate KIND FILE...    check settings files against the schema of KIND
                                                (camera, distortion, mark-templates, measurements,
                                                pixel-map)

The test converts every example file (examples/cameras, examples/measurements,
examples/templates, the saved map of tests/tools/data) and every example of docs/file-reference.md from YAML to JSON and validates
it; checks that broken files are refused; and checks that the schemas hold exactly the keys of
the reference's key tables, with the same words, and require what the tables mark as required.

Needs Debian's python3-jsonschema and python3-yaml: run it with /usr/bin/python3.
"""

import copy
import json
import pathlib
import re
import sys

import jsonschema
import yaml

KINDS = ("camera", "distortion", "mark-templates", "measurements", "pixel-map")
EXAMPLE_FOLDERS = {"cameras": "camera", "measurements": "measurements", "templates": "mark-templates"}
EXAMPLE_FILES = {"tests/tools/data/rc10_scan_complete_map.yaml": "pixel-map"}


# --- YAML as the settings reader takes it ----------------------------------------------------
# The settings reader follows YAML 1.2: 2004-05-05 and yes are texts, 5e-04 is a number.
# PyYAML's safe loader follows YAML 1.1, so its plain-scalar rules are replaced.

class SettingsLoader(yaml.SafeLoader):
    pass


_YAML11_TAGS = {"tag:yaml.org,2002:" + t for t in ("bool", "int", "float", "timestamp")}
SettingsLoader.yaml_implicit_resolvers = {
    first: [(tag, rx) for tag, rx in resolvers if tag not in _YAML11_TAGS]
    for first, resolvers in yaml.SafeLoader.yaml_implicit_resolvers.items()
}
SettingsLoader.add_implicit_resolver(
    "tag:yaml.org,2002:bool", re.compile(r"^(?:true|True|TRUE|false|False|FALSE)$"), list("tTfF"))
SettingsLoader.add_implicit_resolver(
    "tag:yaml.org,2002:int", re.compile(r"^[-+]?[0-9]+$"), list("-+0123456789"))
SettingsLoader.add_implicit_resolver(
    "tag:yaml.org,2002:float",
    re.compile(r"^(?:[-+]?(?:\.[0-9]+|[0-9]+(?:\.[0-9]*)?)(?:[eE][-+]?[0-9]+)?"
               r"|[-+]?\.(?:inf|Inf|INF)|\.(?:nan|NaN|NAN))$"),
    list("-+.0123456789"))
SettingsLoader.add_constructor(
    "tag:yaml.org,2002:int", lambda loader, node: int(loader.construct_scalar(node), 10))


def yaml_to_json(text):
    """The settings text as JSON data (NaN and the infinities kept as Python floats)."""
    data = yaml.load(text, Loader=SettingsLoader)
    return json.loads(json.dumps({} if data is None else data))


# --- The schemas ---------------------------------------------------------------------------------

class Schemas:
    def __init__(self, folder):
        self.folder = pathlib.Path(folder).resolve()
        self.schemas = {}
        for kind in KINDS:
            path = self.folder / (kind + ".schema.json")
            self.schemas[kind] = json.loads(path.read_text(encoding="utf-8"))
        # The camera's distortion refers to the file beside it.
        self.store = {(self.folder / (kind + ".schema.json")).as_uri(): self.schemas[kind]
                      for kind in KINDS}

    def validator(self, kind):
        schema = self.schemas[kind]
        resolver = jsonschema.RefResolver((self.folder / (kind + ".schema.json")).as_uri(), schema,
                                          store=self.store)
        return jsonschema.Draft7Validator(schema, resolver=resolver)

    def errors(self, kind, data):
        """The validation errors as 'path: message' lines, best match first."""
        found = sorted(self.validator(kind).iter_errors(data), key=jsonschema.exceptions.relevance)
        return [("/".join(str(p) for p in error.absolute_path) or "(top)") + ": " + error.message
                for error in reversed(found)]


def resolve(schema, root):
    """The schema behind local references and a lone allOf reference; None behind another file."""
    while True:
        if "$ref" in schema:
            ref = schema["$ref"]
            if not ref.startswith("#/"):
                return None
            schema = root
            for part in ref[2:].split("/"):
                schema = schema[part]
        elif "allOf" in schema and len(schema["allOf"]) == 1 and "properties" not in schema:
            schema = schema["allOf"][0]
        else:
            return schema


def is_point(schema):
    return set(schema.get("properties", {})) == {"x", "y"}


def schema_keys(schema, root=None, prefix="", parent=None, out=None):
    """Key path -> (schema of the key, schema of the section that holds it), paths as in the
    reference: list elements [i]; points and lists of numbers are single keys."""
    root = schema if root is None else root
    out = {} if out is None else out
    for name, sub in schema.get("properties", {}).items():
        path = prefix + name
        target = resolve(sub, root)
        out[path] = (target, schema)
        if target is None or is_point(target):
            continue
        if target.get("type") == "array":
            items = resolve(target.get("items", {}), root)
            if items is not None and "properties" in items:
                schema_keys(items, root, path + "/[i]/", items, out)
        elif "properties" in target:
            schema_keys(target, root, path + "/", target, out)
    return out


def required_in(section, key):
    """Whether the section requires the key, always or for one of its types."""
    if key in section.get("required", []):
        return True
    return any(key in branch.get("then", {}).get("required", []) for branch in section.get("allOf", []))


# --- The reference ------------------------------------------------------------------------------

def read_reference(path):
    """(examples, tables): examples as (kind, line, text); tables as name -> {path: row}, a row
    holding the line, the type cell and the required cell."""
    lines = pathlib.Path(path).read_text(encoding="utf-8").split("\n")
    examples, tables = [], {}
    i = 0
    while i < len(lines):
        example = re.fullmatch(r"<!-- example: (\S+) -->", lines[i])
        keys = re.fullmatch(r"<!-- keys: (\S+) -->", lines[i])
        if example:
            j = i + 1
            while not lines[j].strip():
                j += 1
            assert lines[j] == "```yaml", "%s:%d: no ```yaml block after the marker" % (path, i + 1)
            k = lines.index("```", j + 1)
            examples.append((example.group(1), j + 2, "\n".join(lines[j + 1:k]) + "\n"))
            i = k
        elif keys:
            rows = tables.setdefault(keys.group(1), {})
            k = i + 3
            while k < len(lines) and lines[k].startswith("|"):
                cells = [c.strip() for c in lines[k].split("|")]
                key = re.search(r"`([^`]+)`", cells[1]).group(1)
                rows[key] = {"line": k + 1, "type": cells[2], "required": cells[4] == "yes"}
                k += 1
            i = k
        i += 1
    return examples, tables


# --- Files that the schemas must refuse ------------------------------------------------------------

def rename(data, path, new_name):
    *parents, key = path
    section = data
    for part in parents:
        section = section[part]
    section[new_name] = section.pop(key)


def assign(data, path, value):
    *parents, key = path
    section = data
    for part in parents:
        section = section[part]
    section[key] = value


def remove(data, path):
    *parents, key = path
    section = data
    for part in parents:
        section = section[part]
    del section[key]


# (what is wrong, kind, base file, change)
BROKEN = [
    ("a misspelt required key", "camera", "examples/cameras/rc10_radial.yaml",
     lambda d: rename(d, ["focus"], "focul")),
    ("a misspelt required key of the marks", "camera", "examples/cameras/calibrated_cross_camera.yaml",
     lambda d: rename(d, ["int_or", "length_x"], "lenght_x")),
    ("a misspelt optional key", "camera", "examples/cameras/dmc.yaml",
     lambda d: rename(d, ["int_or", "digital_camera_origin"], "digital_camera_orign")),
    ("a wrong word for the kind of marks", "camera", "examples/cameras/rc10_radial.yaml",
     lambda d: assign(d, ["int_or", "type"], "Fiducial")),
    ("a wrong word for the model", "camera", "examples/cameras/rc10_formula.yaml",
     lambda d: assign(d, ["distortion", "type"], "Fromula")),
    ("a direction in the wrong case", "camera", "examples/cameras/rc10_formula.yaml",
     lambda d: assign(d, ["distortion", "direction"], "camtomm")),
    ("a required coefficient missing", "camera", "examples/cameras/rc10_formula.yaml",
     lambda d: remove(d, ["distortion", "k3"])),
    ("a key of another kind of marks", "camera", "examples/cameras/rc10_radial.yaml",
     lambda d: assign(d, ["int_or", "length_x"], 212.0)),
    ("a quoted number", "camera", "examples/cameras/rc10_radial.yaml",
     lambda d: assign(d, ["focus"], "153.228")),
    ("a negative sensor size", "camera", "examples/cameras/dmc.yaml",
     lambda d: assign(d, ["int_or", "sensor_dims", "x"], -1)),
    ("a fiducial without its position", "camera", "examples/cameras/rc10_radial.yaml",
     lambda d: remove(d, ["int_or", "fiducials", 0, "coords_cam"])),
    ("a directed row of three values", "camera", "examples/cameras/rc10_directed4plus.yaml",
     lambda d: d["distortion"]["table_+"][0]["dr"].pop()),
    ("a negative table radius", "camera", "examples/cameras/rc10_radial.yaml",
     lambda d: assign(d, ["distortion", "table_r", 0, "r"], -20.173)),
    ("a polynomial numbered from 1", "camera", "examples/cameras/rc10_polynomial.yaml",
     lambda d: rename(d, ["distortion", "polynomial_coeffs", "K0"], "K8")),
    ("a rotation that is no quarter turn", "measurements", "examples/measurements/rc10_scan_complete.yaml",
     lambda d: assign(d, ["rotation"], "45")),
    ("a wrong word for the unit", "measurements", "examples/measurements/cross_scan.yaml",
     lambda d: assign(d, ["resolution_units"], "inch")),
    ("a wrong word for the transform", "measurements", "examples/measurements/rc10_scan_complete.yaml",
     lambda d: assign(d, ["transform_type"], "affine")),
    ("a mark without its position", "measurements", "examples/measurements/cross_scan.yaml",
     lambda d: remove(d, ["points", 0, "coords_pix"])),
    ("residuals of a cross", "measurements", "examples/measurements/cross_scan.yaml",
     lambda d: assign(d, ["points", 0, "residuals_pix"], {"x": 0, "y": 0})),
    ("a scan resolution of fiducial marks", "measurements", "examples/measurements/rc10_scan_complete.yaml",
     lambda d: assign(d, ["scan_resolution"], {"x": 0.0125, "y": 0.0125})),
    ("a misspelt required key", "mark-templates", "examples/templates/rc10_mark_templates.yaml",
     lambda d: rename(d, ["mark_templates", 0, "filename"], "file_name")),
    ("the names the saver writes", "mark-templates", "examples/templates/rc10_mark_templates.yaml",
     lambda d: rename(d, ["template_pixel_size_um"], "TemplatePixelSizeMkm")),
    ("a row of two numbers", "pixel-map", "tests/tools/data/rc10_scan_complete_map.yaml",
     lambda d: d["pix_to_cam"]["x"].pop()),
    ("a wrong word for the y axis", "pixel-map", "tests/tools/data/rc10_scan_complete_map.yaml",
     lambda d: assign(d, ["pixel_y_axis"], "up")),
    ("a map without its matrix", "pixel-map", "tests/tools/data/rc10_scan_complete_map.yaml",
     lambda d: remove(d, ["pix_to_cam"])),
]


# --- The checks ---------------------------------------------------------------------------------

class Checks:
    def __init__(self):
        self.passed = 0
        self.failed = 0

    def check(self, ok, what, detail=""):
        if ok:
            self.passed += 1
        else:
            self.failed += 1
            print("FAILED: " + what + ("\n  " + detail.replace("\n", "\n  ") if detail else ""))


def run(source):
    source = pathlib.Path(source)
    schemas = Schemas(source / "docs" / "schemas")
    examples, tables = read_reference(source / "docs" / "file-reference.md")
    checks = Checks()

    for kind in KINDS:
        try:
            jsonschema.Draft7Validator.check_schema(schemas.schemas[kind])
            checks.check(True, kind)
        except jsonschema.exceptions.SchemaError as e:
            checks.check(False, "docs/schemas/%s.schema.json is no draft-07 schema" % kind, str(e))

    files = []
    for folder, kind in EXAMPLE_FOLDERS.items():
        found = sorted((source / "examples" / folder).glob("*.yaml"))
        checks.check(len(found) > 0, "example files in examples/" + folder)
        files += [(kind, path) for path in found]
    files += [(kind, source / path) for path, kind in EXAMPLE_FILES.items()]
    for kind, path in files:
        errors = schemas.errors(kind, yaml_to_json(path.read_text(encoding="utf-8")))
        checks.check(not errors, "%s validates as %s" % (path.relative_to(source), kind), "\n".join(errors))
    print("example files: %d checked" % len(files))

    checks.check(len(examples) >= 20, "the reference holds its examples (%d found)" % len(examples))
    for kind, line, text in examples:
        errors = schemas.errors(kind, yaml_to_json(text))
        checks.check(not errors, "docs/file-reference.md:%d: the %s example validates" % (line, kind),
                     "\n".join(errors))
    print("reference examples: %d checked" % len(examples))

    for what, kind, base, change in BROKEN:
        data = yaml_to_json((source / base).read_text(encoding="utf-8"))
        broken = copy.deepcopy(data)
        change(broken)
        errors = schemas.errors(kind, broken)
        checks.check(bool(errors), "%s (%s) is refused" % (what, base))
        if errors:
            print("refused, %s: %s" % (what, errors[0]))

    for table in KINDS:
        documented = {path: row for path, row in tables.get(table, {}).items()}
        known = schema_keys(schemas.schemas[table])
        checks.check(set(known) == set(documented),
                     "the %s schema has exactly the keys of the reference's table" % table,
                     "only in the schema: %s\nonly in the table: %s" % (
                         sorted(set(known) - set(documented)), sorted(set(documented) - set(known))))
        for path, row in documented.items():
            if path not in known:
                continue
            target, section = known[path]
            key = path.rsplit("/", 1)[-1]
            checks.check(required_in(section, key) == row["required"],
                         "docs/file-reference.md:%d: %s is required in the schema exactly when the table "
                         "says so (%s)" % (row["line"], path, "yes" if row["required"] else "no"))
            if row["type"].startswith("word"):
                words = set(re.findall(r"`([^`]*)`", row["type"]))
                enum = {w for w in (target or {}).get("enum", []) if isinstance(w, str) and w}
                checks.check(words == enum,
                             "docs/file-reference.md:%d: the words of %s are the schema's" % (row["line"], path),
                             "table: %s\nschema: %s" % (sorted(words), sorted(enum)))

    print("%d passed, %d failed" % (checks.passed, checks.failed))
    return 0 if checks.failed == 0 else 1


def validate(kind, paths):
    schemas = Schemas(pathlib.Path(__file__).resolve().parents[2] / "docs" / "schemas")
    status = 0
    for path in paths:
        try:
            errors = schemas.errors(kind, yaml_to_json(pathlib.Path(path).read_text(encoding="utf-8")))
        except (OSError, yaml.YAMLError) as e:
            errors = [str(e)]
        for error in errors:
            print("%s: %s" % (path, error))
        if not errors:
            print("%s: valid %s file" % (path, kind))
        status = status or (1 if errors else 0)
    return status


def main(argv):
    if len(argv) >= 3 and argv[0] == "--validate" and argv[1] in KINDS:
        return validate(argv[1], argv[2:])
    if len(argv) == 1 and not argv[0].startswith("-"):
        return run(argv[0])
    print(__doc__.strip(), file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
