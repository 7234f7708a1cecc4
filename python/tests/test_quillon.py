"""The quillon module against the quillon tool, and what only a Python reader has to do."""
import gzip
import io
import json
import os
import pathlib
import subprocess
import sys
import threading

import pytest
import quillon

TOP = pathlib.Path(__file__).resolve().parents[2]
TOOL = os.environ.get("QUILLON_TOOL", str(TOP / "build/bin/quillon"))
FIXTURES = [TOP / "examples/sample.tmx", TOP / "tests/fuzz/seeds/units.tmx"]
PAIRS = [None, ("en-US", "de-DE"), ("de", "en")]


def as_json(unit):
    return {"key": unit.key,
            "variants": [{"language": v.language, "segment": v.segment, "note": v.note} for v in unit.variants]}


def tool(*args, **kwargs):
    return subprocess.run([TOOL, *args], capture_output=True, check=True, **kwargs).stdout


@pytest.mark.parametrize("pair", PAIRS)
@pytest.mark.parametrize("path", FIXTURES, ids=lambda p: p.name)
def test_units_are_the_tools(path, pair):
    options = ["--pair", *pair] if pair else []
    expected = [json.loads(line) for line in tool("export", *options, str(path)).splitlines()]
    assert [as_json(u) for u in quillon.read_units(path, pair)] == expected
    assert quillon.languages(str(path)) == tool("languages", str(path)).decode().split()


def test_paths_bytes_and_file_objects_agree(tmp_path):
    data = FIXTURES[0].read_bytes()
    (tmp_path / "m.tmx.gz").write_bytes(gzip.compress(data))
    expected = list(quillon.read_units(FIXTURES[0]))
    assert list(quillon.read_units(str(FIXTURES[0]))) == expected
    assert list(quillon.read_units(data)) == expected
    assert list(quillon.read_units(bytearray(data))) == expected
    assert list(quillon.read_units(io.BytesIO(data))) == expected
    with gzip.open(tmp_path / "m.tmx.gz") as f:
        assert list(quillon.read_units(f)) == expected
    with pytest.raises(TypeError, match="binary"):
        list(quillon.read_units(io.StringIO(data.decode())))
    with pytest.raises(FileNotFoundError):
        quillon.read_units(tmp_path / "absent.tmx")


def test_reading_stops_where_the_caller_stops():
    units = quillon.read_units(b"<tmx><body>\n<tu><tuv lang='en'><seg>a</seg></tuv></tu>\n<tu>" + b" " * 10**6 + b"</tmx>")
    assert next(units).variants[0].segment == "a"  # the malformed end is never reached


def test_parse_error_after_the_units_before_it(tmp_path):
    path = tmp_path / "late.tmx"
    path.write_bytes(b"<tmx><body>\n<tu><tuv lang='en'><seg>a</seg></tuv></tu>\n<tu></tuv>")
    units = quillon.read_units(path)
    assert next(units).key == 0
    with pytest.raises(quillon.ParseError) as error:
        next(units)
    assert (error.value.path, error.value.line, error.value.column) == (str(path), 3, 9)
    assert str(error.value) == f"{path}:3:9: {error.value.message}"
    assert isinstance(error.value, ValueError)


def test_safe_settings_refuse_external_entities_unless_turned_off(tmp_path):
    (tmp_path / "secret.txt").write_text("s3cret")
    path = tmp_path / "xxe.tmx"
    path.write_text('<!DOCTYPE tmx [<!ENTITY x SYSTEM "secret.txt">]>'
                    "<tmx><body>\n<tu><tuv lang='en'><seg>&x;</seg></tuv></tu></body></tmx>")
    with pytest.raises(quillon.ParseError, match="external entity"):
        list(quillon.read_units(path))
    assert next(quillon.read_units(path, safe=False)).variants[0].segment == "s3cret"


def test_other_threads_run_while_the_parser_works():
    # Two million comments before the one unit: a single long step of the parser.
    data = b"<tmx><body>\n" + b"<!--c-->" * 2_000_000 + b"<tu><tuv lang='en'><seg>a</seg></tuv></tu></body></tmx>"
    counted, stop = [0], threading.Event()

    def count():
        while not stop.is_set():
            counted[0] += 1

    thread = threading.Thread(target=count)
    thread.start()
    units = quillon.read_units(data)
    before = counted[0]
    next(units)
    during = counted[0] - before
    stop.set()
    thread.join()
    assert during > 1000


def test_pack_and_read_image_match_the_tool(tmp_path):
    image = quillon.pack(TOP / "examples/sample.xml")
    (tmp_path / "sample.img").write_bytes(image)
    dumped = json.loads(tool("dump", "--json", str(tmp_path / "sample.img")))
    read = quillon.read_image(image)
    assert read.encoding == dumped["encoding"]
    assert [[r.name, r.value, r.index, r.depth, [int(f) for f in r.flags]] for r in read] == \
           [[r["name"], r["value"], r["index"], r["depth"], r["flags"]] for r in dumped["records"]]
    with pytest.raises(ValueError, match="record"):
        quillon.read_image(image[:200])


def test_readme_example_runs():
    example = (TOP / "examples/python_example.py").read_text()
    assert example.split("\n", 2)[2] in (TOP / "README.md").read_text()  # the README shows it
    result = subprocess.run([sys.executable, "examples/python_example.py"], cwd=TOP, capture_output=True, text=True,
                            check=True)
    assert result.stdout.startswith("0 Welcome to Lumen! | Willkommen bei Lumen!\n")
