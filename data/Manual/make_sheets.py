#!/usr/bin/env python3
"""Writes the data sheets the About page opens (Manual/*.pdf beside the program).

Standard library only. Run it from anywhere; the PDFs land beside this script:

    python3 data/Manual/make_sheets.py

The output is byte-for-byte repeatable, so the committed PDFs only change when this file does.
"""

import hashlib
import os
import sys

PAGE_W, PAGE_H = 595, 842  # A4 in points
LEFT, RIGHT = 56, 595 - 56
VALUE_X = 230  # where the values of the technical data start
FOOTER_TOP = 108

# Advance widths (1/1000 em) of the standard Helvetica faces for the characters the sheets use;
# only needed to wrap and right-align text.
_ASCII = [chr(c) for c in range(32, 127)]
_HELV = [278, 278, 355, 556, 556, 889, 667, 191, 333, 333, 389, 584, 278, 333, 278, 278,
         556, 556, 556, 556, 556, 556, 556, 556, 556, 556, 278, 278, 584, 584, 584, 556,
         1015, 667, 667, 722, 722, 667, 611, 778, 722, 278, 500, 667, 556, 833, 722, 778,
         667, 778, 722, 667, 611, 722, 667, 944, 667, 667, 611, 278, 278, 278, 469, 556,
         333, 556, 556, 500, 556, 556, 278, 556, 556, 222, 222, 500, 222, 833, 556, 556,
         556, 556, 333, 500, 278, 556, 500, 722, 500, 500, 500, 334, 260, 334, 584]
_BOLD = [278, 333, 474, 556, 556, 889, 722, 238, 333, 333, 389, 584, 278, 333, 278, 278,
         556, 556, 556, 556, 556, 556, 556, 556, 556, 556, 333, 333, 584, 584, 584, 611,
         975, 722, 722, 722, 722, 667, 611, 778, 722, 278, 556, 722, 611, 833, 722, 778,
         667, 778, 722, 667, 611, 722, 667, 944, 667, 667, 611, 333, 278, 333, 584, 556,
         333, 556, 611, 556, 611, 556, 333, 611, 611, 278, 278, 556, 278, 889, 611, 611,
         611, 611, 389, 556, 333, 611, 556, 778, 556, 556, 500, 389, 280, 389, 584]
_EXTRA = {  # regular, bold
    "ä": (556, 556), "ö": (556, 611), "ü": (556, 611), "Ä": (667, 722), "Ö": (778, 778),
    "Ü": (722, 722), "ß": (611, 611), "°": (400, 400), "±": (584, 584), "×": (584, 584),
    "©": (737, 737), "–": (556, 556), "•": (350, 350), "·": (278, 278), "µ": (556, 611),
    "…": (1000, 1000),
}
WIDTHS = {
    "F1": dict(zip(_ASCII, _HELV), **{k: v[0] for k, v in _EXTRA.items()}),
    "F2": dict(zip(_ASCII, _BOLD), **{k: v[1] for k, v in _EXTRA.items()}),
}


def text_width(text, font, size):
    return sum(WIDTHS[font][ch] for ch in text) * size / 1000.0


def wrap(text, font, size, width):
    lines, line = [], ""
    for word in text.split():
        candidate = word if not line else line + " " + word
        if line and text_width(candidate, font, size) > width:
            lines.append(line)
            line = word
        else:
            line = candidate
    if line:
        lines.append(line)
    return lines


def pdf_string(text):
    """A literal string in WinAnsiEncoding (cp1252 agrees with it for every character used)."""
    raw = text.encode("cp1252")
    return b"(" + raw.replace(b"\\", b"\\\\").replace(b"(", b"\\(").replace(b")", b"\\)") + b")"


def num(value):
    text = ("%.2f" % value).rstrip("0").rstrip(".")
    return "0" if text == "-0" else text


class Canvas:
    """Collects the drawing operators of one page."""

    def __init__(self):
        self.ops = []

    def raw(self, *parts):
        self.ops.append(" ".join(parts).encode("ascii"))

    def fill_color(self, rgb):
        self.raw(*(num(c / 255.0) for c in rgb), "rg")

    def stroke_color(self, rgb):
        self.raw(*(num(c / 255.0) for c in rgb), "RG")

    def rect(self, x, y, w, h, rgb):
        self.fill_color(rgb)
        self.raw(num(x), num(y), num(w), num(h), "re f")

    def line(self, x1, y1, x2, y2, rgb, width=0.5):
        self.stroke_color(rgb)
        self.raw(num(width), "w", num(x1), num(y1), "m", num(x2), num(y2), "l S")

    def polygon(self, points, rgb):
        self.fill_color(rgb)
        (x0, y0), rest = points[0], points[1:]
        self.raw(num(x0), num(y0), "m", *(f"{num(x)} {num(y)} l" for x, y in rest), "h f")

    def circle(self, cx, cy, r, rgb, stroke=None):
        k = 0.5523 * r  # control distance of a quarter circle as a cubic Bezier curve
        def curve(*points):
            return " ".join(f"{num(cx + dx)} {num(cy + dy)}" for dx, dy in points) + " c"

        path = [f"{num(cx + r)} {num(cy)} m",
                curve((r, k), (k, r), (0, r)), curve((-k, r), (-r, k), (-r, 0)),
                curve((-r, -k), (-k, -r), (0, -r)), curve((k, -r), (r, -k), (r, 0))]
        if stroke:
            self.stroke_color(rgb)
            self.raw(num(stroke), "w", *path, "h S")
        else:
            self.fill_color(rgb)
            self.raw(*path, "h f")

    def text(self, x, y, text, font="F1", size=10, rgb=(0, 0, 0), align="left"):
        if align == "right":
            x -= text_width(text, font, size)
        self.fill_color(rgb)
        self.ops.append(b"BT /" + font.encode() + b" " + num(size).encode() + b" Tf " +
                        f"{num(x)} {num(y)} Td ".encode() + pdf_string(text) + b" Tj ET")

    def content(self):
        return b"\n".join(self.ops) + b"\n"


# --- brands -----------------------------------------------------------------------------------

GREY = (0x5A, 0x60, 0x68)
LIGHT = (0xD5, 0xD9, 0xDE)
SHADE = (0xEE, 0xF0, 0xF3)


def emblem_halvervoss(c, x, y, s):
    navy, red = (0x1B, 0x3A, 0x6B), (0xD0, 0x2B, 0x2B)
    c.rect(x, y, s, s, navy)
    t, l = s * 0.16, s * 0.56
    c.rect(x + (s - t) / 2, y + (s - l) / 2, t, l, (255, 255, 255))
    c.rect(x + (s - l) / 2, y + (s - t) / 2, l, t, (255, 255, 255))
    c.rect(x + (s - t) / 2, y + (s - t) / 2, t, t, red)


def emblem_dravik(c, x, y, s):
    w = s * 0.8
    c.polygon([(x, y + s), (x + w * 0.45, y + s), (x + w, y + s / 2), (x + w * 0.45, y),
               (x, y), (x + w * 0.55, y + s / 2)], (0xE8, 0x6A, 0x10))


def emblem_ostrel(c, x, y, s):
    c.circle(x + s / 2, y + s / 2, s * 0.4, (0x0E, 0x7C, 0x86), stroke=s * 0.16)
    c.circle(x + s / 2, y + s / 2, s * 0.12, (0xF2, 0xA9, 0x00))


BRANDS = {
    "halvervoss": {
        "emblem": emblem_halvervoss, "color": (0x1B, 0x3A, 0x6B), "word": "HALVER+VOSS",
        "product": "Halver+Voss IO-Link USB Master", "part": "880731", "pid": "7C31",
        "rights": "© 2009-2025 Halver+Voss GmbH & Co. KG",
        "phone": "+49 2351 555-0731", "url": "https://www.halver-voss.example",
    },
    "dravik": {
        "emblem": emblem_dravik, "color": (0x33, 0x37, 0x3D), "word": "DRAVIK",
        "product": "Dravik IO-Link USB Master", "part": "DV-LNK-0417", "pid": "7C33",
        "rights": "© 2011-2025 Dravik Automation AG", "document": "4417209",
        "phone": "+49 711 555-4172", "url": "https://www.dravik.example",
    },
    "ostrel": {
        "emblem": emblem_ostrel, "color": (0x0E, 0x7C, 0x86), "word": "ostrel",
        "product": "Ostrel IO-Link USB Master", "part": "", "pid": "7C32",
    },
}

# --- texts ------------------------------------------------------------------------------------

TEXTS = {
    "en": {
        "sheet": "Data sheet",
        "part": "Part number",
        "pid": "USB product ID",
        "document": "Document",
        "intro": ("The {product} connects one IO-Link device, or a standard switching sensor, "
                  "to a PC over USB. It powers the device from the USB port and needs no "
                  "external supply, which makes it the tool of choice for setting up, testing "
                  "and diagnosing IO-Link sensors and actuators at the desk or in the field."),
        "generic": ("This generic sheet also covers the variants of the master sold under other "
                    "brands: Halver+Voss (part number 880731) and Dravik (part number "
                    "DV-LNK-0417) share its technical data."),
        "data": "Technical data",
        "groups": [
            ("IO-Link", [
                ("IO-Link revision", "1.1 (devices of revision 1.0 supported)"),
                ("Number of ports", "1, port class A"),
                ("Transmission rates", "COM1 4.8 kbit/s · COM2 38.4 kbit/s · COM3 230.4 kbit/s"),
                ("Operating modes", "IO-Link, SIO (switching input)"),
                ("Device connection", "M12 socket, 5-pin, A-coded"),
                ("Cable length to the device", "max. 20 m, unshielded"),
            ]),
            ("USB", [
                ("Interface", "USB 2.0 full speed (12 Mbit/s), virtual COM port"),
                ("Connector", "USB Mini-B, cable 1.5 m included"),
                ("{pid_label}", "{pid}"),
            ]),
            ("Supply", [
                ("Supply of the master", "from USB bus power, 5 V DC, max. 500 mA"),
                ("Port supply L+", "24 V DC ± 10 %"),
                ("Current limit L+", "80 mA, short-circuit proof"),
                ("Output C/Q (SIO)", "max. 50 mA"),
            ]),
            ("Mechanics and environment", [
                ("Dimensions (L × W × H)", "82 × 42 × 24 mm"),
                ("Weight", "approx. 60 g"),
                ("Housing", "PC/ABS, light grey"),
                ("Degree of protection", "IP20"),
                ("Operating temperature", "0 … +50 °C"),
                ("Storage temperature", "-20 … +70 °C"),
                ("Relative humidity", "10 … 90 %, non-condensing"),
            ]),
            ("Software", [
                ("Configuration",
                 "Kestrova DTM for FDT frame applications, Kestrova desktop application"),
            ]),
        ],
        "rights": "All rights reserved",
        "changes": "Edition 01/2025 · Subject to technical changes",
        "demo": ("This data sheet belongs to the Kestrova demonstration. The brand, the product "
                 "and all figures are made up; it describes no real device."),
    },
    "de": {
        "sheet": "Datenblatt",
        "part": "Artikelnummer",
        "pid": "USB-Produkt-ID",
        "document": "Dokument",
        "intro": ("Der {product} verbindet ein IO-Link-Gerät oder einen herkömmlichen "
                  "schaltenden Sensor über USB mit einem PC. Er versorgt das Gerät aus der "
                  "USB-Schnittstelle und braucht keine externe Spannungsversorgung – ideal zum "
                  "Einrichten, Prüfen und Diagnostizieren von IO-Link-Sensoren und -Aktoren am "
                  "Schreibtisch und vor Ort."),
        "generic": ("Dieses allgemeine Datenblatt gilt auch für die Varianten des Masters unter "
                    "anderen Marken: Halver+Voss (Artikelnummer 880731) und Dravik "
                    "(Artikelnummer DV-LNK-0417) haben dieselben technischen Daten."),
        "data": "Technische Daten",
        "groups": [
            ("IO-Link", [
                ("IO-Link-Revision", "1.1 (Geräte der Revision 1.0 unterstützt)"),
                ("Anzahl Ports", "1, Portklasse A"),
                ("Übertragungsraten", "COM1 4,8 kBit/s · COM2 38,4 kBit/s · COM3 230,4 kBit/s"),
                ("Betriebsarten", "IO-Link, SIO (Schalteingang)"),
                ("Geräteanschluss", "M12-Buchse, 5-polig, A-codiert"),
                ("Leitungslänge zum Gerät", "max. 20 m, ungeschirmt"),
            ]),
            ("USB", [
                ("Schnittstelle", "USB 2.0 Full Speed (12 MBit/s), virtueller COM-Port"),
                ("Anschluss", "USB Mini-B, Kabel 1,5 m im Lieferumfang"),
                ("{pid_label}", "{pid}"),
            ]),
            ("Versorgung", [
                ("Versorgung des Masters", "aus der USB-Busspannung, 5 V DC, max. 500 mA"),
                ("Portversorgung L+", "24 V DC ± 10 %"),
                ("Strombegrenzung L+", "80 mA, kurzschlussfest"),
                ("Ausgang C/Q (SIO)", "max. 50 mA"),
            ]),
            ("Mechanik und Umgebung", [
                ("Abmessungen (L × B × H)", "82 × 42 × 24 mm"),
                ("Gewicht", "ca. 60 g"),
                ("Gehäuse", "PC/ABS, lichtgrau"),
                ("Schutzart", "IP20"),
                ("Betriebstemperatur", "0 … +50 °C"),
                ("Lagertemperatur", "-20 … +70 °C"),
                ("Relative Luftfeuchte", "10 … 90 %, nicht kondensierend"),
            ]),
            ("Software", [
                ("Konfiguration",
                 "Kestrova-DTM für FDT-Rahmenapplikationen, Kestrova-Desktopanwendung"),
            ]),
        ],
        "rights": "Alle Rechte vorbehalten",
        "changes": "Ausgabe 01/2025 · Technische Änderungen vorbehalten",
        "demo": ("Dieses Datenblatt gehört zur Kestrova-Demonstration. Marke, Produkt und alle "
                 "Angaben sind erfunden; es beschreibt kein reales Gerät."),
    },
}

# --- one page ---------------------------------------------------------------------------------


def paragraph(c, y, text, font="F1", size=10, rgb=(0, 0, 0), x=LEFT, width=RIGHT - LEFT,
              leading=1.35):
    for line in wrap(text, font, size, width):
        c.text(x, y, line, font, size, rgb)
        y -= size * leading
    return y


def sheet_page(brand_key, lang, page_label):
    b, t = BRANDS[brand_key], TEXTS[lang]
    c = Canvas()
    color = b["color"]

    # Header: emblem and wordmark, the kind of document, a rule in the brand colour.
    top = PAGE_H - 48
    b["emblem"](c, LEFT, top - 28, 28)
    c.text(LEFT + 38, top - 21, b["word"], "F2", 20, color)
    c.text(RIGHT, top - 19, t["sheet"], "F1", 12, GREY, align="right")
    c.rect(LEFT, top - 42, RIGHT - LEFT, 3, color)

    # Title block.
    y = top - 84
    c.text(LEFT, y, b["product"], "F2", 20)
    y -= 20
    ids = [f"{t['part']} {b['part']}"] if b["part"] else []
    ids.append(f"{t['pid']} {b['pid']}")
    c.text(LEFT, y, "   ·   ".join(ids), "F1", 11, GREY)

    y -= 26
    y = paragraph(c, y, t["intro"].format(product=b["product"]), size=10.5)
    if brand_key == "ostrel":
        y -= 4
        y = paragraph(c, y, t["generic"], size=10.5)

    # Technical data: one shaded row per group, then label and value rows with hairlines.
    y -= 14
    c.text(LEFT, y, t["data"], "F2", 13, color)
    y -= 10
    for group, rows in t["groups"]:
        c.rect(LEFT, y - 16, RIGHT - LEFT, 16, SHADE)
        c.text(LEFT + 6, y - 11.5, group, "F2", 9.5)
        y -= 16
        for label, value in rows:
            label = label.format(pid_label=t["pid"])
            value = value.format(pid=b["pid"])
            lines = wrap(value, "F1", 9.5, RIGHT - VALUE_X - 4)
            height = 4 + 12 * len(lines)
            c.text(LEFT + 6, y - 12, label, "F1", 9.5, GREY)
            for i, line in enumerate(lines):
                c.text(VALUE_X, y - 12 - 12 * i, line, "F1", 9.5)
            y -= height
            c.line(LEFT, y, RIGHT, y, LIGHT)

    # Footer: the brand's rights line and service, the edition, and what this sheet really is.
    footer_top = FOOTER_TOP if b.get("rights") else FOOTER_TOP - 12
    if y < footer_top + 12:
        raise SystemExit(f"{brand_key}/{lang}: the technical data run into the footer")
    y = footer_top
    c.line(LEFT, y, RIGHT, y, color, 1)
    y -= 16
    if b.get("rights"):
        c.text(LEFT, y, f"{b['rights']} · {t['rights']}", "F1", 8.5, GREY)
        y -= 12
        c.text(LEFT, y, f"Service: {b['phone']} · URL: {b['url']}", "F1", 8.5, GREY)
        y -= 12
    edition = t["changes"]
    if b.get("document"):
        edition = f"{t['document']} {b['document']} · {edition}"
    c.text(LEFT, y, edition, "F1", 8.5, GREY)
    y -= 18
    paragraph(c, y, t["demo"], "F2", 8.5, GREY, leading=1.3)
    if page_label:
        c.text(RIGHT, 30, page_label, "F1", 8.5, GREY, align="right")
    return c.content()


# --- the file ---------------------------------------------------------------------------------


def info_string(text):
    # UTF-16BE with its byte order mark holds the dash and the umlauts of the titles.
    return b"<FEFF" + text.encode("utf-16-be").hex().upper().encode() + b">"


def write_pdf(path, pages, title, author, subject, lang):
    """A PDF 1.4 file: catalog, page tree, two standard fonts, the pages, an info dictionary."""
    objects = []  # bodies; object n is objects[n - 1]

    def add(body):
        objects.append(body)
        return len(objects)

    catalog = add(None)
    tree = add(None)
    font = "<< /Type /Font /Subtype /Type1 /BaseFont /{} /Encoding /WinAnsiEncoding >>"
    f1 = add(font.format("Helvetica").encode())
    f2 = add(font.format("Helvetica-Bold").encode())
    kids = []
    for content in pages:
        stream = add(b"<< /Length %d >>\nstream\n" % len(content) + content + b"endstream")
        kids.append(add((
            f"<< /Type /Page /Parent {tree} 0 R /MediaBox [0 0 {PAGE_W} {PAGE_H}] "
            f"/Resources << /Font << /F1 {f1} 0 R /F2 {f2} 0 R >> /ProcSet [/PDF /Text] >> "
            f"/Contents {stream} 0 R >>").encode()))
    objects[catalog - 1] = (f"<< /Type /Catalog /Pages {tree} 0 R /Lang ({lang}) "
                            f"/ViewerPreferences << /DisplayDocTitle true >> >>").encode()
    objects[tree - 1] = (f"<< /Type /Pages /Kids [{' '.join(f'{k} 0 R' for k in kids)}] "
                         f"/Count {len(kids)} >>").encode()
    info = add(b"<< /Title " + info_string(title) + b" /Author " + info_string(author) +
               b" /Subject " + info_string(subject) +
               b" /Creator (make_sheets.py) /Producer (Kestrova)"
               b" /CreationDate (D:20250115120000Z) /ModDate (D:20250115120000Z) >>")

    out = bytearray(b"%PDF-1.4\n%\xe2\xe3\xcf\xd3\n")
    offsets = []
    for number, body in enumerate(objects, start=1):
        offsets.append(len(out))
        out += b"%d 0 obj\n" % number + body + b"\nendobj\n"
    xref = len(out)
    out += b"xref\n0 %d\n" % (len(objects) + 1)
    out += b"0000000000 65535 f \n"  # every entry is exactly 20 bytes
    for offset in offsets:
        out += b"%010d 00000 n \n" % offset
    file_id = hashlib.md5(bytes(out)).hexdigest().upper().encode()
    out += (b"trailer\n<< /Size %d /Root %d 0 R /Info %d 0 R /ID [<%s> <%s>] >>\n"
            % (len(objects) + 1, catalog, info, file_id, file_id))
    out += b"startxref\n%d\n%%%%EOF\n" % xref
    with open(path, "wb") as f:
        f.write(out)


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    title = {"en": "Data sheet", "de": "Datenblatt"}
    demo = "Kestrova demonstration"

    def single(name, brand, lang):
        b = BRANDS[brand]
        write_pdf(os.path.join(here, name), [sheet_page(brand, lang, "")],
                  f"{b['product']} – {title[lang]}", demo, b["product"], lang)

    single("880731_eng.pdf", "halvervoss", "en")
    single("880731_ger.pdf", "halvervoss", "de")
    single("ds_4417209_eng_gb.pdf", "dravik", "en")
    single("ds_4417209_ger_de.pdf", "dravik", "de")
    single("Vantra_Master_en.pdf", "ostrel", "en")
    single("Vantra_Master_de.pdf", "ostrel", "de")
    # The generic sheet serves both languages: English first, then German.
    product = BRANDS["ostrel"]["product"]
    write_pdf(os.path.join(here, "Generic_Vantra_Master.pdf"),
              [sheet_page("ostrel", "en", "1/2 · English"),
               sheet_page("ostrel", "de", "2/2 · Deutsch")],
              f"{product} – Data sheet / Datenblatt", demo, product, "en")
    return 0


if __name__ == "__main__":
    sys.exit(main())
