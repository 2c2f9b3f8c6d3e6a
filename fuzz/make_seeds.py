#!/usr/bin/env python3
"""Makes the seeds of the fuzz targets from sample mail, reduced and masked.

    make_seeds.py CORPUS_FOLDER [OUT_FOLDER]

CORPUS_FOLDER  searched for *.eml files, which are only read
OUT_FOLDER     receives TARGET/HASH, one file for each seed; "seeds" in this folder when not given

What is kept of a message is its structure: the names of standard fields, media types, parameters,
transfer encodings and charsets, delimiters, line ends, and whatever is broken. All else is masked:
letters become x, digits 0, characters above ASCII one of a few, boundaries a word made of them.
Fields, lines and bodies are cut short. No text of the mail is left.

The tree keeps some hundred seeds for each target, those that reach something. They are made into a
folder of their own, and the fuzzer chooses among them and what earlier runs have kept:

    fuzz_TARGET -set_cover_merge=1 -use_counters=0 -max_len=LENGTH seeds/TARGET FOLDER...
"""

import base64
import binascii
import hashlib
import pathlib
import re
import sys

HERE = pathlib.Path(__file__).resolve().parent
LONGEST_MESSAGE = 2000  # bytes
LONGEST_TEXT = 300      # bytes of a seed for one codec or one kind of field
LINES_OF_BODY = 6       # lines kept between two delimiters
LONGEST_LINE = 160      # bytes
FIELDS_OF_ONE_NAME = 2
CONTINUATIONS = 4

FIELD_NAMES = """
from to cc bcc subject date sender reply-to message-id in-reply-to references received return-path
mime-version content-type content-transfer-encoding content-disposition content-id
content-description content-location content-language content-base content-length content-md5
dkim-signature domainkey-signature authentication-results arc-seal arc-message-signature
arc-authentication-results x-wrongbodyencoding x-nocharswrongencoded list-id precedence
""".split()
STRUCTURED = {"content-type", "content-disposition", "content-transfer-encoding", "mime-version"}
WORDS = """
multipart mixed alternative related signed encrypted report digest parallel text plain html enriched
calendar message rfc822 partial external-body delivery-status disposition-notification
feedback-report application octet-stream pkcs7-mime pkcs7-signature x-pkcs7-mime x-pkcs7-signature
pgp-signature pgp-encrypted image jpeg gif png audio video boundary charset name filename protocol
micalg type format flowed delsp start report-type smime-type number total id access-type inline
attachment base64 quoted-printable 7bit 8bit binary x-uuencode utf-8 us-ascii ascii iso-8859-1
iso-8859-2 iso-8859-3 iso-8859-15 windows-1250 windows-1251 windows-1252 koi8-r euc-jp euc-kr gb2312
big5 iso-2022-jp shift_jis ks_c_5601-1987 utf-7 utf-16 1.0 sha1 sha-256
""".split()
WORD = re.compile(rb"[A-Za-z0-9_.-]+")
ENCODED_WORD = re.compile(rb"=\?([^?\s]*)\?([BbQq])\?([^?]*)\?=")
BOUNDARY = re.compile(rb"boundary(?:\*\d*\*?)?\s*=\s*(?:\"([^\"]+)\"|([^\s;\"]+))", re.I)


def mask_byte(byte):
    if 0x41 <= byte <= 0x5A:
        return ord("X")
    if 0x61 <= byte <= 0x7A:
        return ord("x")
    if 0x30 <= byte <= 0x39:
        return ord("0")
    if byte < 0x80:
        return byte
    if byte < 0xC0:
        return 0xA9
    return 0xC3 if byte < 0xE0 else 0xE2 if byte < 0xF0 else 0xF0


def mask(text):
    return bytes(mask_byte(byte) for byte in text)


def mask_base64(text):
    letters = b"AbCdEf0189+/"
    return bytes(letters[b % 12] if chr(b).isalnum() or b in b"+/" else b for b in text)


def mask_quoted_printable(text):
    def escape(match):
        return b"=%02X" % mask_byte(int(match[0][1:], 16))
    parts = re.split(rb"(=[0-9A-Fa-f]{2})", text)
    return b"".join(re.sub(rb"=..", escape, part) if i % 2 else mask(part)
                    for i, part in enumerate(parts))


def mask_word(match):
    charset, letter, text = match[1], match[2], match[3]
    if charset.lower().decode("latin-1") not in WORDS:
        charset = mask(charset)
    if letter in b"Qq":
        return b"=?" + charset + b"?" + letter + b"?" + mask_quoted_printable(text) + b"?="
    try:
        text = base64.b64encode(mask(base64.b64decode(text, validate=True)))
    except (binascii.Error, ValueError):
        text = mask_base64(text)
    return b"=?" + charset + b"?" + letter + b"?" + text + b"?="


def mask_value(value, structured):
    """The words of a structured value that mean something stay, as do the marks of encoded words."""
    out = b""
    at = 0
    for match in ENCODED_WORD.finditer(value):
        out += mask_plain(value[at:match.start()], structured) + mask_word(match)
        at = match.end()
    return out + mask_plain(value[at:], structured)


def mask_plain(text, structured):
    if not structured:
        return mask(text)
    out = b""
    at = 0
    for match in WORD.finditer(text):
        keep = match[0].lower().decode("latin-1") in WORDS
        out += mask(text[at:match.start()]) + (match[0] if keep else mask(match[0]))
        at = match.end()
    return out + mask(text[at:])


def mask_boundary(text):
    """Same boundaries stay the same, and one that another begins with stays its beginning."""
    return bytes(b"abcd"[b % 4] if chr(b).isalpha() and b < 128 else b"01"[b % 2]
                 if 0x30 <= b <= 0x39 else mask_byte(b) for b in text)


def split_lines(data):
    return re.findall(rb"[^\r\n]*(?:\r\n|\r|\n)|[^\r\n]+$", data)


def cut(line):
    text = line.rstrip(b"\r\n")
    if len(text) <= LONGEST_LINE:
        return line
    return text[:LONGEST_LINE - 20] + text[-20:] + line[len(text):]


class Masker:
    """One message; goes through its lines once and keeps what is left of them in `lines`."""

    def __init__(self, data):
        found = [m[1] or m[2] for m in BOUNDARY.finditer(data)]
        self.boundaries = sorted({b for b in found if len(b) < 200}, key=len, reverse=True)
        self.lines = []
        self.in_header = True
        self.nested = False
        self.name = b""
        self.fields = {}
        self.continuations = 0
        self.encoding = b""
        self.body = []
        for line in split_lines(data):
            self.take(line)
        self.end_body()

    def take(self, line):
        if any(b"--" + b in line for b in self.boundaries):
            self.end_body()
            self.lines.append(self.with_boundaries(line, mask))
            self.start_header()
        elif self.in_header:
            self.header_line(line)
        else:
            self.body.append(line)

    def with_boundaries(self, text, masked):
        for boundary in self.boundaries:
            at = text.find(boundary)
            if at >= 0:
                return (self.with_boundaries(text[:at], masked) + mask_boundary(boundary) +
                        self.with_boundaries(text[at + len(boundary):], masked))
        return masked(text)

    def start_header(self):
        self.in_header = True
        self.nested = False
        self.name = b""
        self.fields = {}
        self.encoding = b""

    def header_line(self, line):
        if not line.strip(b"\r\n"):
            self.lines.append(line)
            if self.nested:
                self.start_header()
            else:
                self.in_header = False
            return
        if line[:1] in b" \t":
            self.continuations += 1
            if self.continuations > CONTINUATIONS or not self.kept():
                return
            self.lines.append(self.value(line))
            return
        name, colon, value = line.partition(b":")
        self.name = name.lower().strip()
        self.continuations = 0
        self.fields[self.name] = self.fields.get(self.name, 0) + 1
        if not self.kept():
            return
        if colon == b"" or name.startswith(b"From "):
            self.lines.append(cut(b"From " + mask(line[5:]) if name[:5] == b"From " else mask(line)))
            return
        known = self.name.decode("latin-1") in FIELD_NAMES
        self.lines.append((name if known else mask(name)) + b":" + self.value(value))

    def kept(self):
        known = self.name.decode("latin-1") in FIELD_NAMES
        return self.fields.get(self.name, 0) <= FIELDS_OF_ONE_NAME and (known or len(self.fields) < 24)

    def value(self, text):
        structured = self.name.decode("latin-1") in STRUCTURED
        if self.name == b"content-type" and b"message/rfc822" in text.lower():
            self.nested = True
        if self.name == b"content-transfer-encoding":
            self.encoding = text.strip().lower()
        return cut(self.with_boundaries(text, lambda part: mask_value(part, structured)))

    def end_body(self):
        lines = self.body
        if len(lines) > LINES_OF_BODY:
            lines = lines[:LINES_OF_BODY - 2] + lines[-2:]
        for line in lines:
            if self.encoding == b"base64":
                self.lines.append(cut(mask_base64(line)))
            elif self.encoding == b"quoted-printable":
                self.lines.append(cut(mask_quoted_printable(line)))
            else:
                self.lines.append(cut(mask(line)))
        self.body = []

    def message(self):
        return b"".join(self.lines)[:LONGEST_MESSAGE]


def unfolded_fields(message):
    head = re.split(rb"\r\n\r\n|\n\n|\r\r", message)[0]
    joined = re.sub(rb"(?:\r\n|\r|\n)(?=[ \t])", b"", head)
    return [line for line in re.split(rb"\r\n|\r|\n", joined) if b":" in line]


def bodies_of(message, encoding):
    """Texts behind a header block that names the encoding."""
    for block in re.split(rb"(?:\r\n|\r|\n)--", message):
        parts = re.split(rb"\r\n\r\n|\n\n|\r\r", block, maxsplit=1)
        if len(parts) == 2 and encoding in parts[0].lower():
            yield parts[1][:LONGEST_TEXT]


def charset_rows():
    source = (HERE.parent / "codec" / "charset_names.h").read_text()
    return [row.lower() for row in re.findall(r'\{"([^"]+)", "[^"]*", \d+\}', source)]


def seeds_of(message, rows):
    """Pairs of target and seed. The bytes in front of a text are what the target takes first."""
    steering = hashlib.sha256(message).digest()
    some = steering[:1]
    yield "parser", message
    yield "message", bytes(16) + message
    yield "message", steering[:16] + message
    yield "header_editing", bytes(16) + message
    yield "header_editing", steering[:16] + message
    for body in bodies_of(message, b"base64"):
        yield "base64", b"\xff" + some + steering[1:5] + body
    for body in bodies_of(message, b"quoted-printable"):
        yield "quoted_printable", some + b"\xff" + steering[1:5] + body
    fields = unfolded_fields(message)
    yield "header_values", some + b"\x03" + steering[1:4] + b"\n".join(fields)[:LONGEST_TEXT]
    for field in fields:
        name, _, value = field.partition(b":")
        value = value[:LONGEST_TEXT]
        if name.lower().startswith(b"content-"):
            yield "header_values", some + b"\x00" + field[:LONGEST_TEXT]
        if b"=?" in value:
            yield "encoded_words", some + b"\xff\x40" + value
        if b"boundary" in value.lower():
            kept = [line for line in split_lines(message) if line.startswith(b"--")]
            body = b"x\r\n".join(kept[:6])
            yield "boundaries", some + steering[1:4] + value + b"\n" + body[:LONGEST_TEXT]
    for match in ENCODED_WORD.finditer(message):
        charset = match[1].decode("latin-1").lower()
        row = rows.index(charset) * 2 if charset in rows else 255
        named = b"" if row < 255 else bytes([len(match[1]) & 31]) + match[1]
        yield "charset", bytes([row]) + b"\xff" + named + decoded(match)


def decoded(match):
    if match[2] in b"Qq":
        return re.sub(rb"=([0-9A-F]{2})", lambda m: bytes([int(m[1], 16)]), match[3])
    try:
        return base64.b64decode(match[3])
    except binascii.Error:
        return match[3]


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    out = pathlib.Path(sys.argv[2]) if len(sys.argv) == 3 else HERE / "seeds"
    rows = charset_rows()
    made = {}
    for path in sorted(pathlib.Path(sys.argv[1]).rglob("*.eml")):
        for target, seed in seeds_of(Masker(path.read_bytes()).message(), rows):
            made.setdefault(target, set()).add(seed)
    for target, seeds in sorted(made.items()):
        folder = out / target
        folder.mkdir(parents=True, exist_ok=True)
        for seed in seeds:
            (folder / hashlib.sha256(seed).hexdigest()[:12]).write_bytes(seed)
        print(f"{target}: {len(seeds)} seeds, {sum(map(len, seeds))} bytes")


if __name__ == "__main__":
    main()
