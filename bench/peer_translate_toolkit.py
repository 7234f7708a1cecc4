"""The peer reader for the benchmarks: translate-toolkit reads a TMX file into its units, then
the languages and every variant (language, segment, notes) are listed, as `quillon units --all`
does. Run with Debian's python3: peer_translate_toolkit.py FILE"""
import sys

from translate.storage import tmx

XML_LANG = "{http://www.w3.org/XML/1998/namespace}lang"


def main(path):
    with open(path, "rb") as f:
        store = tmx.tmxfile(f)
    languages = set()
    variants = 0
    for unit in store.units:
        notes = unit.getnotes()
        for node in unit.getlanguageNodes():
            language = node.get(XML_LANG) or node.get("lang") or ""
            languages.add(language)
            segment = unit.getNodeText(node)
            variants += 1
            sys.stdout.write(f"{language}\t{segment}\t{notes}\n")
    print(sorted(languages), variants)


if __name__ == "__main__":
    main(sys.argv[1])
