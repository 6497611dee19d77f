"""Compares what our reader of property lists reads with what Python and GNUstep read."""
import datetime
import os
import plistlib
import random
import re
import subprocess
import sys
import tempfile

chance = random.Random(1)
TEXTS = ["", "shared", "x" * 14, "y" * 15, "é", "\U0001F600z", "ü" * 20, "<key> & ]]>\r\n\t"]
SCALARS = [True, False, 0, 255, 256, 65536, 2**32, 2**63 - 1, -1, -2**63, 2**63, 2**64 - 1, 0.0,
           1 / 3, -1e300, 5e-324, b"", b"a", b"\0\xff", b"z" * 20, *TEXTS,
           *(datetime.datetime(year, 2, 3, 4, 5, 6) for year in (1, 1969, 2001, 2069, 9999))]
ONLY_BINARY = [plistlib.UID(0), plistlib.UID(2**40), plistlib.UID(2**63 - 1), "\0", "a\x01"]
OPENSTEP = [
    '{ a = b; "c d" = (e, "\\n\\z\\12\\7x\\U00e9!", <0fbd 77>); /* x */ k = {l=m;}; // y\n n = o }',
    'a = b;\n"c" = "d\\""; /* c */ e;\n',
    '( a, /b/c, {d = "\\t";}, () ,<>)']


def value(scalars, depth=0):
    size = chance.choice([0, 1, 3, 16])
    kind = chance.randrange(4 if depth < 3 else 2)
    if kind < 2 and depth:
        return chance.choice(scalars)
    if kind == 2:
        return [value(scalars, depth + 1) for _ in range(size)]
    return {chance.choice(TEXTS) + str(i): value(scalars, depth + 1) for i in range(size)}


def damaged(data):
    data = bytearray(data)
    for _ in range(chance.choice([1, 1, 2, 4])):
        place = chance.choice([chance.randrange(8, len(data)), -chance.randrange(1, 33)])
        data[place] = chance.choice([data[place] ^ 1 << chance.randrange(8), 0, 255])
    return bytes(data)


def comparable(held):
    """Returns the same for values that our XML cannot tell apart; all others differ."""
    if isinstance(held, plistlib.UID):
        return comparable({"CF$UID": held.data})
    if isinstance(held, list):
        return [comparable(element) for element in held]
    if isinstance(held, dict):
        return {comparable(key): comparable(held[key]) for key in held}
    if isinstance(held, str):
        return repr(re.sub("[\0-\x08\x0b\x0c\x0e-\x1f\ufffe\uffff]", "", held))
    if isinstance(held, datetime.datetime):
        return str(held.replace(microsecond=0))
    return repr(float(held) if isinstance(held, int) and not -2**63 <= held < 2**63 else held)


def read_by_us(lists):
    given = b"".join(len(data).to_bytes(8, sys.byteorder) + data for data in lists)
    output = subprocess.run([os.environ["READ_PROPERTY_LISTS"]], input=given, check=True,
                            stdout=subprocess.PIPE).stdout.split(b"\0")[:-1]
    return [comparable(plistlib.loads(xml)) if xml else None for xml in output]


def read_by_python(data):
    try:
        return comparable(plistlib.loads(data))
    except (plistlib.InvalidFileException, TypeError, OverflowError, RecursionError):
        return None  # also if it contains itself


def read_by_gnustep(texts):
    """What plser reads; None if plparse refuses it, "" if it has no braces: plser refuses those."""
    with tempfile.TemporaryDirectory() as folder:
        for i, text in enumerate(texts):
            with open(f"{folder}/{i}", "wb") as file:
                file.write(text)

        def run(numbers, *command):
            return subprocess.run([*command, *map(str, numbers)], cwd=folder, capture_output=True,
                                  text=True, check=False)
        parsed = run(range(len(texts)), "plparse").stderr
        accepted = [int(i) for i in re.findall(r"^Parsing '(\d+)' - an? ", parsed, re.M)]
        plser = run(accepted, "plser", "-Format", "NSPropertyListXMLFormat_v1_0")
    answers = dict.fromkeys(accepted, "")
    refused = [int(i) for i in re.findall(r"^Loading '(\d+)'", plser.stderr, re.M)]
    output = re.sub(r"\\U00[01][0-9A-F]|\0", "", plser.stdout)  # controls, which XML cannot hold
    xml = re.findall(r"<\?xml.*?</plist>", output, re.S)
    for i, document in zip(sorted(set(accepted) - set(refused)), xml, strict=True):
        answers[i] = comparable(plistlib.loads(document.encode()))
    return [answers.get(i) for i in range(len(texts))]


def compare_with_python():
    sound = [plistlib.dumps(value(SCALARS + ONLY_BINARY), fmt=plistlib.FMT_BINARY)
             for _ in range(99)]
    lists = sound + [plistlib.dumps(value(SCALARS)) for _ in range(99)]
    lists += [damaged(data) for data in sound for _ in range(20)]
    for i, (data, ours) in enumerate(zip(lists, read_by_us(lists), strict=True)):
        if i >= 198 and ours is None:
            continue  # intentional: ours is stricter, for instance if an object overlaps the table
        theirs = read_by_python(data)
        if theirs is None and re.search("0001-01-01|9999-12-31", str(ours)):
            continue  # intentional: Python has no dates before or after these
        assert ours == theirs, f"{data.hex()}\nPython: {theirs}\nours:   {ours}"


def compare_with_gnustep():
    texts = set()
    for text in OPENSTEP:
        for i in range(len(text) + 1):
            texts.add(text[:i])
            for c in "{}()=;,\"<>\\/ *a\n'[:":
                texts.update([text[:i] + c + text[i:], text[:i] + c + text[i + 1:]])
    # Intentional: GNUstep reads a null character in the first, and an empty list in nothing.
    texts = [text.encode() for text in sorted(texts)
             if not re.search(r"\\[uU][^0-9a-f]", text) and text.strip()]
    texts = chance.sample(texts, 1500)
    for text, ours, theirs in zip(texts, read_by_us(texts), read_by_gnustep(texts), strict=True):
        assert (ours is None) == (theirs is None) and theirs in ("", None, ours), (
            f"{text.decode()}\nGNUstep: {theirs}\nours:    {ours}")


compare_with_python()
compare_with_gnustep()
