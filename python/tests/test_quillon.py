"""The quillon module against the quillon tool, and what only a Python reader has to do."""
import builtins
import collections.abc
import gc
import gzip
import io
import json
import os
import pathlib
import shutil
import subprocess
import sys
import threading
import time

import pytest
import quillon

TOP = pathlib.Path(__file__).resolve().parents[2]
TOOL = os.environ.get("QUILLON_TOOL", str(TOP / "build/bin/quillon"))
FIXTURES = [TOP / "examples/sample.tmx", TOP / "tests/fuzz/seeds/units.tmx"]
PAIRS = [None, ("en-US", "de-DE"), ("de", "en")]


def as_json(unit, text):
    tuid = {"tuid": unit.tuid} if unit.tuid is not None and text != "engine" else {}
    return {"key": unit.key, **tuid,
            "variants": [{"language": v.language, "segment": v.segment, "note": v.note} for v in unit.variants]}


def tool(*args, **kwargs):
    return subprocess.run([TOOL, *args], capture_output=True, check=True, **kwargs).stdout


@pytest.mark.parametrize("text", ["plain", "markup", "engine"])
@pytest.mark.parametrize("pair", PAIRS)
@pytest.mark.parametrize("path", FIXTURES, ids=lambda p: p.name)
def test_units_and_pairs_are_the_tools(path, pair, text):
    options = ["--pair", *pair] if pair else []
    expected = [json.loads(line) for line in tool("export", "--text", text, *options, str(path)).splitlines()]
    assert [as_json(u, text) for u in quillon.read_units(path, pair, text=text)] == expected
    assert quillon.languages(str(path)) == tool("languages", str(path)).decode().split()
    if pair:
        pairs = tool("export", "--text", text, "--format", "pairs", "--dedupe", *options, str(path))
        expected = [json.loads(line) for line in pairs.splitlines()]
        assert [{"key": p.key, **({"tuid": p.tuid} if p.tuid is not None else {}),
                 "translation": {pair[0]: p.first, pair[1]: p.second}}
                for p in quillon.read_pairs(path, *pair, text=text, dedupe=True)] == expected


def test_reads_in_pieces_are_the_reads_of_one_parser(tmp_path):
    units = "".join(f'<tu tuid="{i}"><tuv xml:lang="en"><seg>s {i} <ph>x</ph></seg></tuv>'
                    f'<tuv xml:lang="de"><seg>t {i % 97}</seg></tuv></tu>\n' for i in range(40000))
    data = f"<tmx><header/><body>{units}</body></tmx>".encode()
    (tmp_path / "big.tmx.gz").write_bytes(gzip.compress(data))
    expected = list(quillon.read_units(data, jobs=1))
    with gzip.open(tmp_path / "big.tmx.gz") as f:
        assert list(quillon.read_units(f, jobs=2)) == expected
    assert list(quillon.read_pairs(data, "en", "de", dedupe=True)) == list(
        quillon.read_pairs(data, "en", "de", dedupe=True, jobs=1))
    with quillon.read_units(data, jobs=3) as early:  # ends while pieces are in flight
        assert next(early) == expected[0]
    with pytest.raises(ValueError, match="jobs must be at least 1"):
        quillon.read_units(data, jobs=0)


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

    class Broken(io.BytesIO):
        def read(self, size=-1):
            raise OSError("the disk is gone")

    with pytest.raises(OSError, match="the disk is gone"):  # what a file object raises, as it is
        list(quillon.read_units(Broken()))
    with pytest.raises(FileNotFoundError):
        quillon.read_units(tmp_path / "absent.tmx")
    with pytest.raises(FileNotFoundError):
        quillon.pack(tmp_path / "absent.xml")
    with pytest.raises(IsADirectoryError):
        quillon.pack(tmp_path)


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
    with pytest.raises(quillon.ParseError) as error:
        list(quillon.read_units(path))
    assert error.value.message == ("external entity 'secret.txt' not loaded: the safe defaults load nothing "
                                   "external (safe=False loads it)")
    assert next(quillon.read_units(path, safe=False)).variants[0].segment == "s3cret"


@pytest.mark.parametrize("product", ["Lumen", "&product;"])
def test_safe_settings_read_a_large_memory_full_of_codes_to_the_end(tmp_path, product):
    # Far more &lt; than a count of expansions allows, and a product named through an entity.
    prolog = '<!DOCTYPE tmx [<!ENTITY product "Lumen Photo">]>' if product.startswith("&") else ""
    code = f'<bpt i="1">&lt;b&gt;</bpt>{product}<ept i="1">&lt;/b&gt;</ept> '
    path = tmp_path / "large.tmx"
    path.write_text(prolog + "<tmx><body>\n" + "".join(
        f'<tu><tuv xml:lang="en"><seg>{code if i % 4 == 0 else ""}Save {product}</seg></tuv></tu>\n'
        for i in range(60000)) + "</body></tmx>")
    for jobs in (1, None):
        assert sum(1 for _ in quillon.read_units(path, jobs=jobs)) == 60000


def test_safe_settings_refuse_a_quadratic_blowup():
    document = (b'<!DOCTYPE tmx [<!ENTITY big "' + b"x" * 50000 + b'">]><tmx><body><tu><tuv xml:lang="en"><seg>'
                + b"&big;" * 40000 + b"</seg></tuv></tu></body></tmx>")
    for jobs in (1, None):
        with pytest.raises(quillon.ParseError, match=r"beyond the safe limit.*\(safe=False lifts it\)$"):
            list(quillon.read_units(document, jobs=jobs))


def test_other_threads_run_while_the_parser_works():
    # Four million comments before the one unit: a single long step of the parser. The counting
    # thread must run in the middle of that step, not only before and after it.
    data = b"<tmx><body>\n" + b"<!--c-->" * 4_000_000 + b"<tu><tuv lang='en'><seg>a</seg></tuv></tu></body></tmx>"
    ticks, stop = [], threading.Event()

    def count():
        n = 0
        while not stop.is_set():
            n += 1
            if n % 100 == 0:
                ticks.append(time.perf_counter())

    thread = threading.Thread(target=count)
    thread.start()
    units = quillon.read_units(data)
    start = time.perf_counter()
    next(units)
    end = time.perf_counter()
    stop.set()
    thread.join()
    quarter = (end - start) / 4
    assert sum(start + quarter < tick < end - quarter for tick in ticks) > 10


def test_units_and_records_are_named_tuples_and_the_image_a_sequence():
    unit = next(quillon.read_units(FIXTURES[0]))
    assert unit._asdict()["key"] == 0 and unit.variants[0]._asdict()["language"] == "en-US"
    assert isinstance(unit, tuple) and unit == (unit.key, "welcome", unit.variants)
    assert next(quillon.read_pairs(FIXTURES[0], "en", "de")) == (0, "welcome", "Welcome to Lumen!", "Willkommen bei Lumen!")
    image = quillon.read_image(quillon.pack(TOP / "examples/sample.xml"))
    assert isinstance(image, collections.abc.Sequence)
    assert image.index(image[1]) == 1 and image.count(image[0]) == 1 and image[2] in image
    assert image[0]._asdict()["name"] == "#document" and image[0].flags._asdict()["HasChildren"]
    assert "TMX document" in quillon.read_units.__doc__ and "packed image" in quillon.pack.__doc__


@pytest.mark.parametrize("pair, error", [("en", TypeError), (("en",), ValueError), (["en", "de", "fr"], ValueError),
                                         ((1, 2), TypeError)])
def test_a_pair_is_two_language_codes(pair, error):
    with pytest.raises(error, match="pair"):
        quillon.read_units(FIXTURES[0], pair)


@pytest.mark.parametrize("call, error, message", [
    (lambda: quillon.read_units(FIXTURES[0], text="html"), ValueError, "text must be 'plain', 'markup' or 'engine', not 'html'"),
    (lambda: quillon.read_units(FIXTURES[0], text=None), TypeError, "text must be"),
    (lambda: quillon.read_pairs(FIXTURES[0], "en", 2), TypeError, "second must be a language code"),
    (lambda: quillon.read_pairs(FIXTURES[0], "en", "de", text="raw"), ValueError, "text must be"),
    (lambda: quillon.read_pairs(FIXTURES[0], "*", "de"), ValueError, "do not overlap, not '\\*' and 'de'"),
    (lambda: quillon.read_pairs(FIXTURES[0], "en", "en_US"), ValueError, "do not overlap")])
def test_bad_arguments_say_which(call, error, message):
    with pytest.raises(error, match=message):
        call()


def test_a_name_that_is_not_utf8_names_a_file_all_the_same(tmp_path):
    odd = os.fsdecode(os.fsencode(tmp_path) + b"/\xff")
    shutil.copy(FIXTURES[0], odd + ".tmx")
    shutil.copy(TOP / "examples/sample.xml", odd + ".xml")
    assert list(quillon.read_units(odd + ".tmx")) == list(quillon.read_units(FIXTURES[0]))
    assert quillon.pack(odd + ".xml") == quillon.pack(TOP / "examples/sample.xml")
    with open(odd + ".tmx", "ab") as f:
        f.write(b"<")
    with pytest.raises(quillon.ParseError) as error:
        list(quillon.read_units(odd + ".tmx"))
    assert error.value.path == odd + ".tmx" and str(error.value).startswith(odd + ".tmx:")


def test_errors_without_a_position_say_none():
    with pytest.raises(quillon.ParseError) as error:
        list(quillon.read_units(b'<?xml version="1.0-"?><tmx/>'))
    assert (error.value.path, error.value.line, error.value.column) == (None, None, None)
    assert str(error.value) == error.value.message


def test_a_half_read_iterator_gives_its_file_back_when_closed(monkeypatch):
    opened = []
    monkeypatch.setattr(builtins, "open", lambda *args: opened.append(io.open(*args)) or opened[-1])
    units = quillon.read_units(FIXTURES[0])
    next(units)
    units.close()
    assert opened[-1].closed
    with pytest.raises(StopIteration):
        next(units)
    with quillon.read_units(FIXTURES[0]) as units:
        next(units)
    assert opened[-1].closed


def test_a_read_in_pieces_of_a_file_object_ends_when_dropped_half_read():
    doc = b"<tmx><body>\n" + b"<tu><tuv lang='en'><seg>a</seg></tuv></tu>\n" * 100000 + b"</body></tmx>"

    class Trickle(io.RawIOBase):  # the reader's own thread waits for the lock to read each bit
        def __init__(self):
            self.data = io.BytesIO(doc)

        def read(self, n=-1):
            return self.data.read(min(n, 4096))

    for end in (lambda units: units.close(), lambda units: None):
        units = quillon.read_units(Trickle(), jobs=2)
        next(units)
        end(units)
        del units
        gc.collect()


@pytest.mark.parametrize("jobs", [1, 2])
def test_compressed_memories_are_read_from_paths_bytes_and_file_objects(tmp_path, jobs):
    packed = gzip.compress(FIXTURES[0].read_bytes())
    (tmp_path / "memory.tmx.gz").write_bytes(packed)
    (tmp_path / "cut.gz").write_bytes(packed[:700])
    expected = list(quillon.read_units(FIXTURES[0]))
    assert list(quillon.read_units(tmp_path / "memory.tmx.gz", jobs=jobs)) == expected
    assert list(quillon.read_units(packed, jobs=jobs)) == expected
    with open(tmp_path / "memory.tmx.gz", "rb") as f:
        assert list(quillon.read_units(f, jobs=jobs)) == expected
    units = quillon.read_units(tmp_path / "cut.gz", jobs=jobs)
    assert next(units) == expected[0]
    with pytest.raises(OSError, match=f"^{tmp_path / 'cut.gz'}: the gzip stream is cut short$"):
        list(units)


@pytest.mark.parametrize("jobs", [1, 2])
def test_invalid_bytes_are_an_error_or_read_as_replacement_characters(jobs):
    doc = b"<tmx><body><tu><tuv lang='en'><seg>caf\xe9</seg></tuv></tu>\n<tu><tuv lang='en'><seg>\xff\xfe</seg></tuv></tu></body></tmx>"
    with pytest.raises(quillon.ParseError, match="byte 0xE9 is not UTF-8") as error:
        list(quillon.read_units(doc, jobs=jobs))
    assert (error.value.line, error.value.column) == (1, 39)
    units = quillon.read_units(doc, jobs=jobs, invalid_bytes="replace")
    assert [u.variants[0].segment for u in units] == ["caf\ufffd", "\ufffd\ufffd"]
    assert units.replaced_bytes == 3
    with pytest.raises(ValueError, match="invalid_bytes must be 'error' or 'replace', not 'skip'"):
        quillon.read_pairs(doc, "en", "de", invalid_bytes="skip")


def test_a_close_that_fails_raises_or_reaches_the_unraisable_hook(monkeypatch):
    class FailingClose(io.BytesIO):
        def close(self):
            raise OSError("close failed")

    monkeypatch.setattr(builtins, "open", lambda *args: FailingClose(FIXTURES[0].read_bytes()))
    units = quillon.read_units("memory.tmx")
    next(units)
    with pytest.raises(OSError, match="close failed"):
        units.close()
    unraisable = []
    monkeypatch.setattr(sys, "unraisablehook", unraisable.append)
    units = quillon.read_units("memory.tmx")
    del units
    gc.collect()
    assert "close failed" in str(unraisable[0].exc_value)



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
