#!/usr/bin/env python3
"""Holds the library's reading of sample mail against that of Python's email package.

Every well-formed message must give the same parts with the same decoded bodies, as stored and with
LF and CR LF line ends made anew. What "well-formed" means is checked here, without the library:
see faults(). Where the library reads on purpose otherwise, a rule with a name says so; the rules and
the number of messages they were needed for are printed.

The line end before a delimiter belongs to the body in the library and to the delimiter in Python;
that is no difference (is_same_body).

Exit status: 0 agreement, 1 not, 77 no sample folder.
"""

import argparse
import collections
import email
import email.message
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

LIBRARY_LINE_LIMIT = 4096
DEEPEST = 15
KNOWN_ENCODINGS = {"", "7bit", "8bit", "binary", "quoted-printable", "base64"}

HEADERLESS = "a part without fields keeps the blank line it begins with"
HEADERLESS_FIELDS = "a part without fields whose text begins with fields has them"
DIGEST = "a part of a digest without a Content-Type is text, not a message"
FROM_LINE = 'a first line "From " without a colon ends the fields, and all is text'
MESSAGE_KINDS = "of the message types only message/rfc822 is opened"


class Reader(email.message.Message):
    """A message whose type decides as the library does what the parser opens.

    Python opens every message/... body and takes parts of a digest for messages.
    """

    def get_content_type(self):
        if "content-type" not in self:
            return "text/plain"
        found = super().get_content_type()
        if found.startswith("message/") and found != "message/rfc822":
            return "application/" + found.replace("/", "-")
        return found

    def get_content_maintype(self):
        return self.get_content_type().split("/")[0]

    def raw_text(self):
        """The body as it stands, without the guess at a charset that get_payload makes."""
        text = self._payload
        return text.encode("ascii", "surrogateescape") if isinstance(text, str) else b""


def parse(data):
    return email.message_from_bytes(data, _class=Reader)


class Part:
    """One part as the library should show it."""

    def __init__(self, path, kind, body, at_delimiter, encoding):
        self.path = path
        self.kind = kind
        self.body = body
        self.at_delimiter = at_delimiter
        self.encoding = encoding


def encoding_of(message):
    return str(message.get("content-transfer-encoding", "")).strip().lower()


def type_as_written(message):
    value = message.get("content-type")
    return "" if value is None else re.split(r"[; \t\r\n]", str(value).strip())[0].lower()


def decoded(message):
    if "content-transfer-encoding" in message:
        # Python does not know an encoding with a blank behind its name.
        message.replace_header("content-transfer-encoding", encoding_of(message))
    return message.get_payload(decode=True) or b""


FIELD = re.compile(rb"[^ \t:\r\n]*:")


def leaves(message, path, line_end, at_delimiter, top, rules):
    """The parts that are no multipart and embed nothing, with the rules needed on the way."""
    if not top and not message.keys():
        text = message.raw_text()
        if FIELD.match(text):
            rules.add(HEADERLESS_FIELDS)
            yield from leaves(parse(text), path, line_end, at_delimiter, True, rules)
        else:
            rules.add(HEADERLESS)
            yield Part(path, "", line_end + text if text else b"", at_delimiter, "")
        return
    if type_as_written(message).startswith("message/") and not message.get_content_type().startswith("message/"):
        rules.add(MESSAGE_KINDS)
    if message.is_multipart() and message.get_content_type() == "message/rfc822":
        embedded = message.get_payload()[0]
        if not embedded.keys() and not embedded.raw_text():
            return  # an embedded message of no bytes is no message
        yield from leaves(embedded, path + ".e", line_end, at_delimiter, True, rules)
        return
    if message.is_multipart():
        for index, child in enumerate(message.get_payload()):
            if message.get_content_type() == "multipart/digest" and "content-type" not in child:
                rules.add(DIGEST)
            yield from leaves(child, f"{path}.{index}", line_end, True, False, rules)
        return
    yield Part(path, type_as_written(message), decoded(message), at_delimiter, encoding_of(message))


def is_same_body(part, body, line_end):
    if part.encoding == "base64" or not part.at_delimiter:
        return body == part.body
    # Directly behind the header block the line end before the delimiter is the blank line.
    return body == part.body + line_end or (part.body == b"" and body == b"")


# --- Well-formed or not ---------------------------------------------------------------------------


def line_end_of(data):
    kinds = set(re.findall(rb"\r\n|\r|\n", data))
    return kinds.pop() if len(kinds) == 1 else None


def walk(message, depth=0):
    yield message, depth
    if message.is_multipart():
        deeper = depth + 1
        for child in message.get_payload():
            yield from walk(child, deeper)


def header_faults(message, top):
    names = [name.lower() for name in message.keys()]
    for name in ("content-type", "content-transfer-encoding"):
        if names.count(name) > 1:
            yield f"{name} twice"
    if "boundary" in str(message.get("content-type", "")).lower() and not message.is_multipart():
        yield "a boundary that is not used"
    if top and not names:
        yield "no fields"
    for name, value in message.raw_items():
        if any(len(name) + len(line) + 2 >= LIBRARY_LINE_LIMIT for line in str(value).splitlines()):
            yield "field line of 4096 bytes or more"


def delimiter_faults(data, message):
    """Each delimiter stands at the start of a line of its own, once for each part, then closed."""
    boundary = message.get_boundary()
    if not boundary:
        yield "multipart without a boundary"
        return
    text = b"--" + boundary.encode("ascii", "surrogateescape")
    found = [match.start() for match in re.finditer(re.escape(text), data)]
    for at in found:
        rest = data[at + len(text) : at + len(text) + 4]
        if at > 0 and data[at - 1 : at] not in b"\r\n":
            yield "delimiter inside a line"
        if not re.match(rb"\r\n|\n|--(\r\n|\n|$)", rest):
            yield "delimiter with something behind it"
    closing = data.count(text + b"--")
    if closing != 1 or len(found) != len(message.get_payload()) + 1:
        yield "delimiters and parts do not match"


def encoding_faults(message):
    encoding = encoding_of(message)
    if encoding not in KNOWN_ENCODINGS:
        yield "unknown transfer encoding"
    if message.is_multipart():
        if encoding in ("quoted-printable", "base64"):
            yield "encoded multipart or message"
        return
    text = message.raw_text()
    if encoding == "quoted-printable":
        if re.search(rb"=(?!([0-9A-Fa-f]{2}|\r?\n|$))", text):
            yield "faulty quoted-printable escape"
        if re.search(rb"[ \t](\r?\n|$)", text):
            yield "quoted-printable line that ends in a blank"
        if text.endswith(b"="):
            yield "quoted-printable body that ends in a soft break"
    if encoding == "base64":
        bare = re.sub(rb"[\r\n \t]", b"", text)
        if len(bare) % 4 or not re.fullmatch(rb"[A-Za-z0-9+/]*={0,2}", bare):
            yield "faulty base64"


def faults(data):
    """Why the message is not well-formed; nothing when it is."""
    if not data or b"\0" in data:
        yield "empty, or with NUL bytes"
        return
    line_end = line_end_of(data)
    if line_end not in (b"\n", b"\r\n"):
        yield "line ends of several kinds, or of none or CR"
        return
    if data.startswith(line_end):
        yield "begins with a blank line"
    if line_end * 2 not in data:
        yield "no blank line behind the fields"
    message = parse(data)
    boundaries = []
    for number, (part, depth) in enumerate(walk(message)):
        decoded(part)
        yield from (type(defect).__name__ for defect in part.defects)
        yield from header_faults(part, number == 0)
        yield from encoding_faults(part)
        if depth > DEEPEST:
            yield "nested too deep"
        if part.get_content_maintype() == "multipart" and part.is_multipart():
            boundaries.append(part.get_boundary() or "")
            yield from delimiter_faults(data, part)
        elif part.get_content_maintype() == "multipart":
            yield "multipart without parts"
    for one in boundaries:
        if any(one is not other and other.startswith(one) for other in boundaries):
            yield "boundary that another one begins with"


# --- Comparison -----------------------------------------------------------------------------------


def in_form(data, form):
    if form == "as stored":
        return data
    return re.sub(rb"\r\n|\r|\n", b"\n" if form == "LF" else b"\r\n", data)


def differences(data, dumped, rules):
    line_end = line_end_of(data)
    if not dumped["opened"]:
        yield "the library does not open it"
        return
    shown = [part for part in dumped["parts"] if not part["multipart"] and not part["embeds"]]
    if re.match(rb"From [^:\r\n]*[\r\n]", data):
        rules.add(FROM_LINE)
        expected = [Part("m", "", data, False, "")]
    else:
        expected = list(leaves(parse(data), "m", line_end, False, True, rules))
    if [part["path"] for part in shown] != [part.path for part in expected]:
        yield f"parts {[p['path'] for p in shown]} instead of {[p.path for p in expected]}"
        return
    for part, library in zip(expected, shown):
        body = bytes.fromhex(library["body"])
        if library["type"] != part.kind:
            yield f"{part.path} type {library['type']} instead of {part.kind}"
        if not is_same_body(part, body, line_end):
            yield f"{part.path} body of {len(body)} bytes {body[-20:]!r} instead of {len(part.body)} {part.body[-20:]!r}"


def dump(dumper, messages, folder):
    for number, (_, data) in enumerate(messages):
        (folder / str(number)).write_bytes(data)
    names = [str(number) for number in range(len(messages))]
    # Bodies that the library writes to disk go to the current folder.
    result = subprocess.run([dumper, *names], cwd=folder, check=True, capture_output=True)
    return [json.loads(line) for line in result.stdout.splitlines()]


def compare(form, samples, dumper, verbose):
    messages = [(name, in_form(data, form)) for name, data in samples]
    with tempfile.TemporaryDirectory() as folder:
        dumped = dump(dumper, messages, pathlib.Path(folder))
    kinds, needed = collections.Counter(), collections.Counter()
    well_formed = agreeing = 0
    failures = []
    for (name, data), shown in zip(messages, dumped):
        found = set(faults(data))
        kinds.update(found)
        if found:
            continue
        well_formed += 1
        rules = set()
        problems = list(differences(data, shown, rules))
        needed.update(rules)
        agreeing += not problems
        failures += [f"{name}: {problem}" for problem in problems]
    print(f"{form}: {len(messages)} messages, {well_formed} well-formed, {agreeing} agree")
    for rule, count in needed.most_common():
        print(f"  {count}\trule: {rule}")
    for kind, count in kinds.most_common() if verbose else ():
        print(f"  {count}\tnot well-formed: {kind}")
    for failure in failures:
        print(f"  DISAGREES {failure}")
    return not failures and well_formed > 0


def main():
    options = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    options.add_argument("--dumper", required=True)
    options.add_argument("--corpus", required=True, type=pathlib.Path)
    options.add_argument("--verbose", action="store_true", help="also print why messages are not well-formed")
    arguments = options.parse_args()
    index = arguments.corpus / "INDEX.tsv"
    if not index.exists():
        print(f"SKIPPED: there is no sample folder at {arguments.corpus} (set ZEVKA_CORPUS when configuring)")
        return 77
    step = int(os.environ.get("ZEVKA_CORPUS_STEP", "1"))
    names = [line.split("\t")[0] for line in index.read_text().splitlines()[1:]][::step]
    samples = [(name, (arguments.corpus / name).read_bytes()) for name in names]
    agreed = [compare(form, samples, os.path.abspath(arguments.dumper), arguments.verbose or form == "as stored")
              for form in ("as stored", "LF", "CR LF")]
    return 0 if all(agreed) else 1


if __name__ == "__main__":
    sys.exit(main())
