"""Quillon: TMX translation memories of any size, read as a stream; XML packed into images.

Units are read in document order, in constant memory, with the parser working outside the
interpreter lock. Their segment text is 'plain' (the sentence, without inline codes), 'markup'
(the segment's content as XML) or 'engine' (exactly what Quillon's C++ builders file:
CreateDataStructures for a language pair, CreateMultilingualDataStructures without one).
"""

import os
from types import TracebackType
from typing import BinaryIO, Iterator, Literal, NamedTuple, Optional, Sequence, Tuple, Type, TypeVar, Union, overload

Source = Union[str, os.PathLike, bytes, bytearray, memoryview, BinaryIO]
Text = Literal["plain", "markup", "engine"]
InvalidBytes = Literal["error", "replace"]

class Variant(NamedTuple):
    """One variant of a unit: one seg of a tuv."""
    language: str  #: the language code as the document writes it
    segment: str   #: the segment text
    note: str      #: the variant's note, after the unit's note (a blank line between)

class Unit(NamedTuple):
    """A translation unit with at least one kept variant."""
    key: int                       #: the tu's ordinal; with text='engine', the key the builders file
    tuid: Optional[str]            #: the tu's tuid attribute, None when it has none
    variants: Tuple[Variant, ...]  #: in document order

class Pair(NamedTuple):
    """A unit's segments in two language ranges, whitespace runs made one space and trimmed."""
    key: int
    tuid: Optional[str]
    first: str
    second: str

class ParseError(ValueError):
    """The document cannot be read (malformed, refused by the safe settings, ...)."""
    path: Optional[str]    #: the path read, None for bytes and file objects
    line: Optional[int]    #: where the parser stopped, None when it does not say
    column: Optional[int]
    message: str           #: the parser's message

R = TypeVar("R")

class Read(Iterator[R]):
    def __iter__(self: "Read[R]") -> "Read[R]": ...
    def __next__(self) -> R: ...
    def close(self) -> None:
        """Ends the read now: a file the read opened is closed; next() then stops."""
    @property
    def replaced_bytes(self) -> int:
        """Bytes read as U+FFFD so far, with invalid_bytes='replace'."""
    def __enter__(self: "Read[R]") -> "Read[R]": ...
    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 traceback: Optional[TracebackType]) -> None: ...

class UnitIterator(Read[Unit]): ...
class PairIterator(Read[Pair]): ...

def read_units(source: Source, pair: Optional[Tuple[str, str]] = None, *, text: Text = "plain",
               safe: bool = True, jobs: Optional[int] = None, invalid_bytes: InvalidBytes = "error") -> UnitIterator:
    """The units of a TMX document, in document order, read as the caller iterates.

    source: a path, the document's bytes, or a binary file object read in chunks (standard
    input, gzip.open(...)); gzip, zstd, xz and bzip2 are read as the document they hold. text: 'plain', 'markup' or 'engine'. pair: two language ranges
    ('en' matches en-US and EN_gb, '*' every code) whose variants are kept, and the units that
    have one; with text='engine', the two languages of the bilingual rules. None keeps every
    language. safe: no external DTD or entity is loaded and entity expansion is capped; False
    gives the parser library's defaults, as the C++ library keeps them. jobs: parsers reading
    pieces of the document at once, for the same units (None: the cores the process may use;
    1: one; text='engine' is always read by one). invalid_bytes: 'error' ends the read at a byte
    the document's encoding cannot hold, with ParseError at its place; 'replace' reads it as
    U+FFFD, counted by replaced_bytes. close() (or a with block) ends the read early.

    Raises ParseError once the units before the error have been read, OSError when a path
    cannot be opened or a compressed stream is cut short or damaged, MemoryError when memory runs out; TypeError or ValueError for a pair that
    is not two language codes or an unknown text.
    """

def read_pairs(source: Source, first: str, second: str, *, text: Text = "plain", dedupe: bool = False,
               safe: bool = True, jobs: Optional[int] = None, invalid_bytes: InvalidBytes = "error") -> PairIterator:
    """The segment pairs of `quillon export --format pairs`: per unit, the first non-empty segment
    of each range (an exact code before a longer one), units without both skipped; dedupe drops
    a pair equal to one already given. Errors as read_units raises them."""

def languages(source: Source, *, safe: bool = True) -> list[str]:
    """The distinct language codes of the document's variants, in ordinal order."""

class Flags(NamedTuple):
    IsWhitespaceText: bool
    HasChildren: bool
    IsProcessingInstruction: bool
    IsCDataSection: bool
    EntityTextValue: bool
    EntityNodeValue: bool
    IsEntitiesAttribute: bool
    PreservedText: bool

class Record(NamedTuple):
    """One record of a packed image, as `quillon dump` shows it."""
    name: str
    value: str
    index: int
    depth: int   #: -1 for an attribute
    flags: Flags

class PackedImage(Sequence[Record]):
    """The records of a packed image, and its encoding."""
    encoding: str
    records: list[Record]
    @overload
    def __getitem__(self, index: int) -> Record: ...
    @overload
    def __getitem__(self, index: slice) -> list[Record]: ...
    def __len__(self) -> int: ...

def pack(path: Union[str, os.PathLike], *, safe: bool = True) -> bytes:
    """The packed image of an XML file: a flat record per node, names and values in UTF-16.

    Raises ParseError for a document that cannot be read, OSError for a path that cannot be opened.
    """

def read_image(data: Union[bytes, bytearray, memoryview]) -> PackedImage:
    """The records of a packed image. Raises ValueError for a truncated or malformed image."""
