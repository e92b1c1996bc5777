"""A strict reader of bulk data in fixed fields, by the cards' public descriptions alone: every field stands in its own
columns and is what the card has there, every number that a card names has a card, and no card is there twice."""

import re

WHOLE = re.compile(r"[1-9]\d{0,7}")
REAL = re.compile(r"[+-]?(\d+\.\d*|\.\d+)([+-]\d+)?")

# Kinds of a card's fields in order: I a whole number, R a real one, _ an empty field, words as they stand. What is
# behind the star repeats to the end of the card, and fields in brackets may be missing.
ELEMENTS = {"CTRIA3": "I I I I I R", "CQUAD4": "I I I I I I R", "CTRIA6": "I I I I I I I I R",
            "CQUAD8": "I I I I I I I I I I _ _ _ _ R"}
CARDS = {**ELEMENTS, "GRID": "I _ R R R", "PCOMP": "I R _ _ _ _ _ _ * I R R YES", "MAT8": "I R R R R R R [R]",
         "PLY": "I I R R YES _ I _ I", "STACK": "I _ I * I", "PCOMPP": "I [R]", "SET": "I ELEM LIST _ _ _ _ _ * I",
         "DRAPE": "I _ _ _ _ _ _ _ * ELEM I R R _ _ _ _"}


class Fault(AssertionError):
    pass


def real(text):
    """With the letter of the exponent that these decks leave out."""
    return float(re.sub(r"(?<=[\d.])([+-])", r"e\1", text))


def need(holds, what, line):
    if not holds:
        raise Fault(f"{what}: {line!r}")


def fields_of(line, width, count):
    """The fields behind the name, and nothing beyond them."""
    need(len(line) <= 8 + width * count, "the line is too long", line)
    fields = [line[8 + width * k:8 + width * (k + 1)] for k in range(count)]
    for field in fields:
        need(" " not in field.strip(), "a field holds a blank", line)
    return [field.strip() for field in fields]


def raw_cards(text):
    """Name and fields of each card, whose lines are all small or all large."""
    cards = []
    wide = False
    for line in text.splitlines():
        need(line.isascii() or line.startswith("$"), "only comments hold other letters", line)
        need("\t" not in line and "," not in line or line.startswith("$"), "fields are fixed", line)
        if line.startswith("$"):
            continue
        name = line[:8].strip()
        if name in ("+", "*"):
            need(cards and wide == (name == "*"), "no card of this form to go on with", line)
            cards[-1][1].extend(fields_of(line, 16 if wide else 8, 4 if wide else 8))
            continue
        wide = name.endswith("*")
        name = name.rstrip("*")
        need(name in CARDS, "the card isn't known", line)
        if cards:
            need(len(cards[-1][1]) > 0, "a card without fields", line)
        cards.append((name, fields_of(line, 16 if wide else 8, 4 if wide else 8)))
    return cards


def checked(name, fields):
    """The card's values: whole numbers, reals, words; empty fields as None."""
    kinds = CARDS[name].split()
    head, rest = (kinds[:kinds.index("*")], kinds[kinds.index("*") + 1:]) if "*" in kinds else (kinds, [])
    while fields and not fields[-1] and len(fields) > len(head):
        fields = fields[:-1]
    if rest:
        missing = -(len(fields) - len(head)) % len(rest)
        need(all(kind == "_" for kind in rest[len(rest) - missing:]), f"{name} ends in the middle of a group", fields)
        fields = fields + [""] * missing
    fields = fields + [""] * (len(head) - len(fields))
    kinds = head + rest * ((len(fields) - len(head)) // len(rest) if rest else 0)
    need(len(kinds) == len(fields), f"{name} has fields too many", fields)
    values = []
    for kind, field in zip(kinds, fields):
        if kind == "_" or (kind.startswith("[") and not field):
            need(not field, f"{name} has a value in an empty place", fields)
            values.append(None)
        elif kind == "I":
            need(WHOLE.fullmatch(field), f"{name}: no whole number", field)
            values.append(int(field))
        elif kind in ("R", "[R]"):
            need(REAL.fullmatch(field), f"{name}: no real number", field)
            values.append(real(field))
        else:
            need(field == kind, f"{name}: {kind} was to stand here", field)
            values.append(field)
    return values


def read_bulk(text):
    """Cards by name and number, each with all its values."""
    cards = {}
    for name, fields in raw_cards(text):
        values = checked(name, fields)
        kind = "element" if name in ELEMENTS else name
        need(values[0] not in cards.setdefault(kind, {}), f"{name} stands there twice", values[0])
        cards[kind][values[0]] = (name, *values) if kind == "element" else tuple(values)
    known = lambda kind: cards.get(kind, {})
    sections = {**known("PCOMP"), **known("PCOMPP")}
    named = set()
    for number, values in known("element").items():
        need(values[2] in sections, f"element {number} has no section", values)
        corners = values[3:3 + int(values[0][-1])]
        need(len(set(corners)) == len(corners), f"element {number} names a node twice", values)
        named.update(corners)
    need(named == set(known("GRID")), "the nodes are those of the elements", named ^ set(known("GRID")))
    for number, values in known("PCOMP").items():
        need(set(values[8::4]) <= set(known("MAT8")), f"PCOMP {number} names a material that isn't there", values)
    for number, values in known("STACK").items():
        need(number in sections and set(values[2:]) <= set(known("PLY")), f"STACK {number} names what isn't there", values)
    for number, values in known("PLY").items():
        for value, kind in ((values[1], "MAT8"), (values[6], "DRAPE"), (values[8], "SET")):
            need(value in known(kind), f"PLY {number} names a {kind} that isn't there", values)
    for number, values in known("SET").items():
        need(set(values[8:]) <= set(known("element")), f"SET {number} names what isn't there", values)
    for number, values in known("DRAPE").items():
        need(set(values[9::8]) <= set(known("element")), f"DRAPE {number} names what isn't there", values)
    return cards
