# The README's Python example, run by the tests from the top of the source tree.
# It needs the module on the path: PYTHONPATH=build/python, or an installed quillon.
import quillon

for unit in quillon.read_units("examples/sample.tmx", pair=("en-US", "de-DE")):
    print(unit.key, " | ".join(variant.segment for variant in unit.variants))

print(quillon.languages("examples/sample.tmx"))
