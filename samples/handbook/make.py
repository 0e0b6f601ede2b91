#!/usr/bin/env python3
"""Writes handbook.json and the files that it embeds: samples/handbook/make.py

The results are committed; this script is only needed to change the text. It needs nothing but Python 3. The photographs
and the movie are made by scenes/render.
"""
import json
import pathlib
import zipfile

HERE = pathlib.Path(__file__).parent

GREEN = [0.13, 0.36, 0.22, 1]
MOSS = [0.4, 0.52, 0.2, 1]
PAPER = [0.984, 0.976, 0.949, 1]  # of the page
RUST = [0.67, 0.29, 0.12, 1]
GREY = [0.42, 0.45, 0.42, 1]
LEFT = {"alignment": 0}
RIGHT = {"alignment": 1}
CENTER = {"alignment": 2}
JUSTIFIED = {"alignment": 3}

document = {"tables": {}, "cells": {}, "runs": []}


def font(name, size=12, bold=False, italic=False):
    family = {"TimesNewRomanPSMT": "Times New Roman", "TrebuchetMS": "Trebuchet MS"}.get(name, name.split("-")[0])
    return {"name": name, "family": family, "size": size, "bold": bold, "italic": italic}


BODY = font("Helvetica")
BOLD = font("Helvetica-Bold", bold=True)
ITALIC = font("Helvetica-Oblique", italic=True)


def run(text, paragraph=LEFT, **attributes):
    names = {"font": "NSFont", "color": "NSColor", "underline": "NSUnderline", "link": "NSLink",
             "attachment": "NSAttachment", "directive": "kQFTextViewMarkupDirectivesAttribute",
             "raw": "QFTextViewIgnoreFormattingAttribute"}
    values = {names[key]: value for key, value in attributes.items()}
    if paragraph:
        values["NSParagraphStyle"] = paragraph
    document["runs"].append({"text": text, "attributes": values} if values else {"text": text})


def inline(text, paragraph=LEFT):
    """Prose with *slanted*, **bold** and __underlined__ words."""
    for mark, style in (("**", {"font": BOLD}), ("*", {"font": ITALIC}), ("__", {"font": BODY, "underline": 1})):
        if mark in text:
            for number, piece in enumerate(text.split(mark)):
                if number % 2:
                    run(piece, paragraph, **style)
                elif piece:
                    inline(piece, paragraph)
            return
    run(text, paragraph)


def prose(*paragraphs, style=LEFT):
    for text in paragraphs:
        inline(text + "\n\n", style)


def heading(text, level=2):
    run(text, None, directive={"name": f"Heading {level}", "tag": f"h{level}"})


def raw(markup):
    run(markup, None, raw=True)


BULLETS = {"disc": "\u2022", "circle": "\u25e6", "square": "\u25aa"}
ROMAN = ["i", "ii", "iii", "iv", "v", "vi", "vii", "viii"]


def marker(kind, number):
    if kind in BULLETS:
        return BULLETS[kind]
    text = {"decimal": str(number), "alpha": chr(96 + number), "roman": ROMAN[number - 1]}[kind.split("-")[-1]]
    return (text.upper() if kind.startswith("upper") else text) + "."


def items(entries, kind, *inner_kinds, outer=()):
    """A list; an entry that is a tuple is an inner list of the next kind."""
    lists = [*outer, "{" + kind + "}"]
    number = 0
    for entry in entries:
        if isinstance(entry, tuple):
            items(entry, *inner_kinds, outer=lists)
            continue
        number += 1
        style = {"alignment": 0, "textLists": lists}
        run(f"\t{marker(kind, number)}\t", style)
        inline(entry + "\n", style)


def table(columns, rows, fixed=False, border=1.0, padding=6.0, border_color=(0.72, 0.77, 0.69, 1)):
    """Rows of (text, options); a cell is one run, so that it exports as one cell."""
    name = f"t{len(document['tables']) + 1}"
    document["tables"][name] = {"numberOfColumns": columns, "layoutAlgorithm": int(fixed)}
    taken = {}
    for row, cells in enumerate(rows):
        column = 0
        for text, options in cells:
            while taken.get(column, 0) > row:
                column += 1
            cell_name = f"c{len(document['cells']) + 1}"
            cell = {"table": name, "startingRow": row, "startingColumn": column, "border": border, "padding": padding,
                    "borderColor": list(border_color), "width": options.get("width", 0), "height": 0,
                    "rowSpan": options.get("rows", 1), "columnSpan": options.get("columns", 1),
                    "verticalAlignment": options.get("valign", 0)}
            if "fill" in options:
                cell["backgroundColor"] = options["fill"]
            document["cells"][cell_name] = cell
            look = {key: options[key] for key in ("font", "color", "link") if key in options}
            run(text + "\n", {"alignment": 0, "textBlocks": [cell_name]}, **look)
            for spanned in range(column, column + cell["columnSpan"]):
                taken[spanned] = row + cell["rowSpan"]
            column += cell["columnSpan"]
    run("\n")


def head(text, **options):
    return text, {"font": BOLD, "fill": [0.86, 0.91, 0.82, 1], **options}


def cell(text, **options):
    return text, options


def attached(name, preferred, paragraph=LEFT, **media):
    attachment = {"file": name, "preferredFilename": preferred}
    if media:
        attachment["mediaAttributes"] = media
    run("\ufffc", paragraph, attachment=attachment)


CAPTION = font("Georgia-Italic", 14, italic=True)


def picture(name, preferred, alt, caption, paragraph=CENTER, **media):
    """A picture, or a movie, above its caption."""
    attached(name, preferred, paragraph, lockratios=True, alttag=alt, **media)
    run("\n", paragraph)
    run(caption + "\n\n", paragraph, font=CAPTION, color=GREY)


def pdf(*lines):
    """A one-page PDF with lines of text."""
    content = "BT /F1 20 Tf 60 770 Td 26 TL " + " ".join(f"({line}) Tj T*" for line in lines) + " ET"
    objects = ["<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
               "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R"
               " /Resources << /Font << /F1 5 0 R >> >> >>",
               f"<< /Length {len(content)} >>\nstream\n{content}\nendstream",
               "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"]
    out, offsets = "%PDF-1.4\n", []
    for number, body in enumerate(objects, 1):
        offsets.append(len(out))
        out += f"{number} 0 obj\n{body}\nendobj\n"
    table_start = len(out)
    out += f"xref\n0 {len(objects) + 1}\n0000000000 65535 f \n"
    out += "".join(f"{offset:010} 00000 n \n" for offset in offsets)
    return out + f"trailer\n<< /Size {len(objects) + 1} /Root 1 0 R >>\nstartxref\n{table_start}\n%%EOF\n"


# ---- Front page

run("Harrow Lane Botanical Garden\n", CENTER, font=font("Georgia-Bold", 38, bold=True), color=GREEN)
run("A handbook for visitors and volunteers\n", CENTER, font=font("Georgia-Italic", 19, italic=True), color=GREY)
run("Twelfth edition\n\n", CENTER, font=font("TrebuchetMS", 15), color=MOSS)

raw("""<svg class="plan" viewBox="0 0 720 300" role="img" aria-label="Plan of the garden">
<rect width="720" height="300" rx="14" fill="#e7efdf"/>
<path d="M0 236 C160 200 240 268 380 232 S620 196 720 226 V300 H0 Z" fill="#cfe3ea"/>
<path d="M40 60 H680 M200 60 V232 M470 60 V220" stroke="#fbf8ef" stroke-width="14" fill="none" stroke-linecap="round"/>
<rect x="58" y="84" width="112" height="84" rx="8" fill="#b9d3a4"/><rect x="232" y="84" width="206" height="54" rx="8" fill="#dfe7c1"/>
<rect x="232" y="152" width="96" height="62" rx="8" fill="#c6dab2"/><rect x="342" y="152" width="96" height="62" rx="8" fill="#e2cfae"/>
<rect x="502" y="84" width="150" height="100" rx="8" fill="#f3e3d3" stroke="#ab4a1f" stroke-width="2"/>
<g fill="#3f7a4d"><circle cx="84" cy="112" r="13"/><circle cx="114" cy="138" r="17"/><circle cx="146" cy="108" r="12"/><circle cx="262" cy="172" r="9"/><circle cx="292" cy="173" r="11"/></g>
<g font-family="Georgia, serif" font-size="15" fill="#2d3a2e" text-anchor="middle"><text x="114" y="190">Arboretum</text><text x="335" y="116">Long border</text><text x="280" y="206">Fern dell</text><text x="390" y="188">Dry bed</text><text x="577" y="140">Glasshouses</text><text x="330" y="272">The pond</text><text x="360" y="40">Gate and ticket hut</text></g>
</svg>""")

prose(
    "The garden at Harrow Lane began in 1911 as the trial ground of a seed merchant who could not bear to throw plants "
    "away. What he kept, his daughters labelled; what they labelled, the town inherited. Today **four thousand kinds "
    "of plants** grow on a little under three hectares between the railway and the river, looked after by two gardeners, "
    "one apprentice and some sixty volunteers.",
    "This handbook is for all who come through the gate. Visitors will find *when to come*, *how to get here* and *what to "
    "look for*; volunteers will find the calendar, the rules of the potting shed and the steps of propagation that we "
    "follow, so that a tray begun on Tuesday can be finished by someone else on Saturday.",
    style=JUSTIFIED)

picture("pictures/pond.jpg", "The pond.jpg", "The pond with water lilies, trees behind it in the mist",
        "The pond at seven on a morning in June, from the bicycle stands. The tree that leans in from the left is the black "
        "mulberry; the red one is a copper beech, and the heron is behind it.", scale=0.5625)

# ---- Visiting

heading("Visiting the garden")
prose("The gate is open every day except in the first week of January. Last entry is **one hour before closing**. On days "
      "with a storm warning the arboretum stays shut; look at the board beside the ticket hut.")
heading("Hours and prices", 3)
table(4, [
    [head("Season", rows=2), head("Open", columns=2), head("Ticket")],
    [head("from"), head("to"), head("adult / child")],
    [cell("Spring (March to May)"), cell("9.00"), cell("18.00"), cell("4.50 / 1.50", fill=[0.97, 0.95, 0.86, 1])],
    [cell("Summer (June to August)"), cell("8.00"), cell("20.00"), cell("6.00 / 2.00", fill=[0.97, 0.91, 0.78, 1])],
    [cell("Autumn (September to November)"), cell("9.00"), cell("17.00"), cell("4.50 / 1.50", fill=[0.97, 0.95, 0.86, 1])],
    [cell("Winter (December to February)"), cell("10.00"), cell("15.30"), cell("free", font=BOLD, color=GREEN)],
], fixed=True)
prose("Season tickets cost 28.00 and pay for themselves at the seventh visit. Friends of the garden, school classes and "
      "everyone with a spade in hand come in free.")

picture("pictures/arboretum.jpg", "The arboretum.jpg", "A path between trees in autumn colours, with a bench on its right",
        "The arboretum in week 41. The slide had been scanned from its back for years; in this edition the picture is "
        "mirrored at last, and the bench stands where you will find it.", scale=0.5625, fliph=True)

heading("Getting here", 3)
run("Buses 4 and 17 stop at the gate; the ")
run("timetable", link={"href": "https://www.example.org/buses?line=4&stop=harrow", "title": "Timetable of \"line 4\" & line 17",
                       "rel": "noopener"})
run(" shows the last one back. By bicycle, follow the river path and lock up ")
run("at the stands", link="#bicycles")
run(" beside the pond. The ")
run("plan to print", link={"href": "file:///garden/assets/plan.pdf", "asset": 1, "title": "One page, A4", "rel": "asset"})
run(" marks all gates without steps, and ")
run("the calendar", link="#year")
run(" tells what goes on behind the glass when there is nothing to see outside.\n\n")
raw("<a id=\"bicycles\"></a>")
run("There is room for forty bicycles and, we regret, for no cars at all.\n\n",
    font=font("TrebuchetMS", 15), color=GREY)

heading("House rules", 3)
items([
    "Stay on paths and lawns. Beds look empty in winter, but they are not.",
    "Look, smell, draw, photograph. Do not pick; ask at the hut, and you may be given a cutting with its name.",
    "Children are welcome and may run",
    ("on the **great lawn**,", "around the pond, behind the fence,", "and in the maze",
     ("whose hedges are yew, and __poisonous in all parts__,", "and whose exit is on the left.",),),
    "Dogs wait at the gate, where there is shade and a bowl.",
], "disc", "circle", "square")

# ---- Plants

heading("What to look for")
prose("A botanical garden is a library in which the books change places with the seasons. The table names one plant for "
      "each part of the garden, with the weeks in which it is at its best. Numbers in the last column are those on the labels.",
      style=JUSTIFIED)
LATIN = font("Georgia-Italic", 16, italic=True)
table(5, [
    [head("Place", width=110), head("Plant"), head("Name", width=150), head("Best weeks"), head("Label")],
    [cell("Arboretum", rows=2, valign=1, fill=[0.73, 0.83, 0.64, 1]), cell("Handkerchief tree"), cell("Davidia involucrata", font=LATIN),
     cell("19 to 21"), cell("A 14")],
    [cell("Katsura"), cell("Cercidiphyllum japonicum", font=LATIN), cell("40 to 43"), cell("A 31")],
    [cell("Long border", rows=2, valign=1, fill=[0.87, 0.91, 0.76, 1]), cell("Bearded iris"), cell("Iris germanica", font=LATIN),
     cell("20 to 23"), cell("B 207")],
    [cell("Aster"), cell("Symphyotrichum novae-angliae", font=LATIN), cell("36 to 41"), cell("B 260")],
    [cell("Fern dell", fill=[0.78, 0.85, 0.7, 1]), cell("Royal fern"), cell("Osmunda regalis", font=LATIN), cell("22 to 38"), cell("F 3")],
    [cell("Dry bed", fill=[0.89, 0.81, 0.68, 1]), cell("Sea holly"), cell("Eryngium maritimum", font=LATIN), cell("27 to 33"), cell("D 58")],
    [cell("Glasshouses", fill=[0.95, 0.89, 0.83, 1]), cell("Queen of the night"), cell("Selenicereus grandiflorus", font=LATIN),
     cell("one night", font=BOLD, color=RUST), cell("G 1")],
])
picture("pictures/asters.jpg", "Asters.jpg", "Purple and pink asters with yellow centres",
        "New England asters, label B 260, at three in the afternoon. Before ten they are still shut.",
        square=True, scale=0.5, enableborder=True, bordersize=8, bordercolour=[0.8, 0.85, 0.74, 1])
prose("The *queen of the night* opens after dark, once, and is over by dawn. When the buds begin to lift we ring everyone on "
      "the list at the hut, in the order in which they signed up, until somebody answers.")
picture("pictures/night.mov", "Queen of the night.mov", "A white cactus flower opens",
        "From half past eight to half past twelve in four seconds: one picture every five minutes, taken by the apprentice, who "
        "did not sleep. Friends of the garden who come for the night bring a chair.", LEFT)
prose("Our oldest tree is the **black mulberry** by the pond. It was planted for silk, which was a mistake (silkworms prefer "
      "the white one), and kept for its fruit, which was not. It leans on two oak props, and both are older than any of us.")

run("Labels with a red corner mark plants that hurt: sap, thorns or berries. Children should be shown the red corner before "
    "they are shown anything else.", None,
    directive={"name": "Note", "opentag": "<div class=\"note\"><strong>Good to know</strong> ", "closetag": "</div>"})

picture("pictures/fern.tiff", "Royal fern.tiff", "A pressed frond of the royal fern on its herbarium sheet",
        "Every plant with a label has a sheet in the herbarium above the ticket hut. This is the royal fern of the dell; "
        "the volunteers of the Thursday table press, mount and scan them, and are at the letter O.", scale=0.5)

# ---- Calendar

raw("<a id=\"year\"></a>")
heading("The year in the garden")
prose("Volunteers meet on Tuesdays and Saturdays at nine. What is to be done stands on the slate in the potting shed; this is "
      "the plan that the slate is copied from.")
table(3, [
    [head("Months", width=110), head("Outdoors"), head("Under glass")],
    [cell("January, February", fill=[0.86, 0.91, 0.95, 1]), cell("Prune apples and wisteria. Turn the compost. Mend tools."),
     cell("Wash the glass. Sow onions and sweet peas.")],
    [cell("March, April", fill=[0.9, 0.95, 0.85, 1]), cell("Divide perennials. Lift the straw from the dry bed."),
     cell("Prick out. Begin to air on mild days.")],
    [cell("May, June", fill=[0.95, 0.96, 0.8, 1]), cell("Stake the long border before it needs it. Weed, weed, weed."),
     cell("Shade the south roof. Soft cuttings.")],
    [cell("July, August", fill=[0.98, 0.92, 0.76, 1]), cell("Water early. Gather seed on dry days. Clip the yew."),
     cell("Damp the floor at noon. Watch for red spider.")],
    [cell("September, October", fill=[0.97, 0.87, 0.75, 1]), cell("Plant bulbs, trees and hope. Clear nothing that birds can eat."),
     cell("Bring in the citrus before the first frost.")],
    [cell("November, December", fill=[0.9, 0.88, 0.86, 1]), cell("Rake paths, leave leaves on beds. Wrap the fig."),
     cell("Heat to eight degrees. Water little.")],
])

heading("Growing from cuttings")
picture("pictures/shed.jpg", "The potting shed.jpg", "Pots with cuttings on a wooden bench",
        "Fuchsias on the bench, three, five and nine weeks old. The snapshot hangs on the shed door, and has never hung "
        "straight.", scale=0.36, rotation=-3.5, clip=False, fillcolour=PAPER, enableborder=True, bordersize=12,
        bordercolour=[1, 1, 1, 1], enableshadow=True, shadowoffset=5, shadowblur=14, shadowcolour=[0.4, 0.43, 0.38, 1])
prose("Most of what we sell at the spring fair starts as a cutting taken in June. The steps below have been argued over for "
      "twenty years and are, for the moment, settled.", style=JUSTIFIED)
items([
    "Choose a shoot of this year that carries **no flower**, early in the day.",
    "Cut a hand's length, just below a leaf joint, with a knife that has been",
    ("wiped,", "dipped in spirit,", "and wiped again.",),
    "Take off the lower leaves and halve the upper ones if they are large.",
    "Set the cutting to a third of its length in two parts sand and one part leaf mould.",
    "Label it *at once*, with name, number and date. An unlabelled pot is a weed.",
    "Water, cover, and keep out of the sun. After three weeks tug gently:",
    ("if it holds, it has roots, and may be potted on;", "if it comes away brown, thank it and try again.",),
], "decimal", "lower-alpha")
run("\nThe three compost bays are filled in turn:\n", LEFT)
items(["fresh: everything green, chopped", "resting: covered, turned once a month", "ready: sieved, and fought over"], "upper-roman")
run("\nAnd the borders are lettered from the gate:\n", LEFT)
items(["the long border, east half", "the long border, west half", "the dry bed"], "upper-alpha")

heading("Words of welcome", 3)
prose("Our plants come from five continents, and so do the people who look after them. The sign at the gate says:")
run("Welcome \u00b7 Bienvenue \u00b7 Willkommen \u00b7 Bienvenidos \u00b7 V\u00edtejte \u00b7 Dobrodo\u0161li\n", CENTER,
    font=font("TimesNewRomanPSMT", 18), color=GREEN)
run("\u0623\u0647\u0644\u0627 \u0648\u0633\u0647\u0644\u0627 \u00b7 \u05d1\u05e8\u05d5\u05db\u05d9\u05dd \u05d4\u05d1\u05d0\u05d9\u05dd\n\n",
    {"alignment": 4, "baseWritingDirection": 1}, font=font("TimesNewRomanPSMT", 18), color=GREEN)

# ---- Downloads and end

heading("To take home")
run("Seed list and sowing dates: ")
attached("sowing-dates.txt", "Sowing dates.txt")
run("\nForm for the seed exchange: ")
attached("seed-exchange.pdf", "Seed exchange form.pdf", filename="seed-exchange.pdf")
run("\nLabels of all beds, as a list for the label machine: ")
attached("labels.zip", "Label lists.zip")
run("\n\n")
prose("All may be copied and passed on. If you find a mistake, and there is always one, tell us at the hut; the thirteenth edition "
      "is already being written in the margins of this one.")
run("garden.label --print \"A 14\" --copies 2", LEFT, font=font("Courier", 15))
run("  prints a label on the machine in the shed. It jams; open the flap, be kind.\n\n", font=font("Verdana", 14), color=GREY)
raw("<hr class=\"leaf\" /><details><summary>Who made this handbook</summary>Text and plan by the volunteers of the Thursday "
    "table. Set in whatever fonts you have.</details>")
run("\n")
run("Harrow Lane, at midsummer\n", RIGHT, font=font("Georgia-Italic", 14, italic=True), color=MOSS)
raw("<p class=\"imprint\">&copy; <?php\necho date('Y'); ?> Friends of Harrow Lane Botanical Garden</p>")

(HERE / "sowing-dates.txt").write_text(
    "SOWING DATES\n\nOnions           January, under glass\nSweet peas       February, under glass\n"
    "Broad beans      March, outdoors\nPoppies          April, where they are to stay\n"
    "Foxgloves        June, for next year\nYellow rattle    September, into the meadow\n", encoding="utf-8")
(HERE / "seed-exchange.pdf").write_text(pdf("Seed exchange", "", "Name:", "I bring:", "I would like:"), encoding="ascii")
LABELS = {"arboretum.csv": ["A 14,Davidia involucrata,no", "A 31,Cercidiphyllum japonicum,no"],
          "borders.csv": ["B 207,Iris germanica,yes", "B 260,Symphyotrichum novae-angliae,no", "D 58,Eryngium maritimum,yes"],
          "glasshouses.csv": ["F 3,Osmunda regalis,no", "G 1,Selenicereus grandiflorus,yes"]}
with zipfile.ZipFile(HERE / "labels.zip", "w") as archive:
    for member, rows in LABELS.items():
        entry = zipfile.ZipInfo(f"labels/{member}", (2024, 6, 24, 12, 0, 0))
        entry.external_attr = 0o644 << 16
        archive.writestr(entry, "\n".join(["label,name,red corner", *rows]) + "\n")
(HERE / "assets").mkdir(exist_ok=True)
(HERE / "assets" / "plan.pdf").write_text(pdf("Plan of the garden", "", "Gates without steps: north, river", "Bicycles: by the pond"),
                                          encoding="ascii")
lines = ["{", ' "cells": {']
lines.append(",\n".join(f'  "{name}": {json.dumps(value)}' for name, value in document["cells"].items()) + "\n },")
lines.append(' "runs": [')
lines.append(",\n".join("  " + json.dumps(entry, ensure_ascii=False) for entry in document["runs"]) + "\n ],")
lines.append(' "tables": {')
lines.append(",\n".join(f'  "{name}": {json.dumps(value)}' for name, value in document["tables"].items()) + "\n }\n}")
(HERE / "handbook.json").write_text("\n".join(lines) + "\n", encoding="utf-8")
