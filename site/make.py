#!/usr/bin/env python3
"""Writes the two pages of styled text and the files to download: site/make.py

The results are committed; this script is only needed to change them. It needs nothing but Python 3. The photographs are
made by scenes/render.
"""
import json
import math
import pathlib
import zipfile

HERE = pathlib.Path(__file__).parent
RED, ROSE = [0.64, 0.15, 0.11, 1], [0.99, 0.93, 0.9, 1]
LEFT, CENTER = {"alignment": 0}, {"alignment": 2}


class Page:
    """A styled text that grows run by run."""

    def __init__(self):
        self.document = {"tables": {}, "cells": {}, "runs": []}

    def run(self, text, paragraph=LEFT, **attributes):
        names = {"font": "NSFont", "color": "NSColor", "underline": "NSUnderline", "link": "NSLink", "attachment": "NSAttachment",
                 "directive": "kQFTextViewMarkupDirectivesAttribute", "raw": "QFTextViewIgnoreFormattingAttribute"}
        values = {names[key]: value for key, value in attributes.items()}
        if paragraph:
            values["NSParagraphStyle"] = paragraph
        self.document["runs"].append({"text": text, "attributes": values} if values else {"text": text})

    def inline(self, text, paragraph=LEFT, **attributes):
        """Prose with *slanted* and **bold** words and [links](address)."""
        if "**" in text:
            marks = ("**", {"font": {"name": "Helvetica-Bold", "family": "Helvetica", "bold": True}})
        elif "*" in text:
            marks = ("*", {"font": {"name": "Helvetica-Oblique", "family": "Helvetica", "italic": True}})
        elif "](" in text:
            before, rest = text.split("[", 1)
            words, rest = rest.split("](", 1)
            address, rest = rest.split(")", 1)
            if before:
                self.run(before, paragraph, **attributes)
            self.run(words, paragraph, link=address, **attributes)
            if rest:
                self.inline(rest, paragraph, **attributes)
            return
        else:
            self.run(text, paragraph, **attributes)
            return
        for number, piece in enumerate(text.split(marks[0])):
            if piece:
                self.inline(piece, paragraph, **(attributes | marks[1] if number % 2 else attributes))

    def prose(self, *paragraphs):
        for text in paragraphs:
            self.inline(text + "\n\n")

    def heading(self, text, level=2, anchor=None):
        tag = {"opentag": f'<h{level} id="{anchor}">', "closetag": f"</h{level}>"} if anchor else {"tag": f"h{level}"}
        self.run(text, None, directive={"name": f"Heading {level} {text}", **tag})

    def raw(self, markup):
        self.run(markup, None, raw=True)

    def items(self, entries, *kinds, outer=()):
        """A list; an entry that is a tuple is an inner list of the next kind."""
        lists, number = [*outer, "{" + kinds[0] + "}"], 0
        signs = {"disc": "\u2022", "circle": "\u25e6", "square": "\u25aa"}
        for entry in entries:
            if isinstance(entry, tuple):
                self.items(entry, *kinds[1:], outer=lists)
                continue
            number += 1
            style = {"alignment": 0, "textLists": lists}
            self.run(f"\t{signs.get(kinds[0], f'{number}.')}\t", style)
            self.inline(entry + "\n", style)

    def table(self, columns, rows, border=0):
        """Rows of text or (text, options); a cell is one run, so that it exports as one cell."""
        name = f"t{len(self.document['tables']) + 1}"
        self.document["tables"][name] = {"numberOfColumns": columns, "layoutAlgorithm": 0}
        taken = {}
        for row, cells in enumerate(rows):
            column = 0
            for cell in cells:
                text, options = cell if isinstance(cell, tuple) else (cell, {})
                while taken.get(column, 0) > row:
                    column += 1
                cell_name = f"c{len(self.document['cells']) + 1}"
                spans = {"rowSpan": options.get("rows", 1), "columnSpan": options.get("columns", 1)}
                self.document["cells"][cell_name] = {"table": name, "startingRow": row, "startingColumn": column, "border": border,
                                                     "padding": 6, **spans}
                if "fill" in options:
                    self.document["cells"][cell_name]["backgroundColor"] = options["fill"]
                look = {key: options[key] for key in ("font", "color", "link") if key in options}
                self.run(text + "\n", {"alignment": options.get("alignment", 0), "textBlocks": [cell_name]}, **look)
                for spanned in range(column, column + spans["columnSpan"]):
                    taken[spanned] = row + spans["rowSpan"]
                column += spans["columnSpan"]
        self.run("\n")

    def picture(self, name, alt, paragraph=LEFT, **media):
        self.run("\ufffc", paragraph, attachment={"file": f"photographs/{name}.jpg", "preferredFilename": f"{name}.jpg",
                                                  "mediaAttributes": {"lockratios": True, "alttag": alt, **media}})
        self.run("\n", paragraph)

    def caption(self, text, paragraph=LEFT):
        self.inline(text + "\n\n", paragraph, font={"name": "Georgia-Italic", "family": "Georgia", "size": 15, "italic": True})

    def download(self, name, preferred):
        self.run("\ufffc", attachment={"file": name, "preferredFilename": preferred})
        self.run("\n\n")

    def write(self, name):
        pieces = [f' "{key}": {json.dumps(self.document[key], sort_keys=True)}' for key in ("tables", "cells") if self.document[key]]
        runs = ",\n".join("  " + json.dumps(run, ensure_ascii=False, sort_keys=True) for run in self.document["runs"])
        (HERE / "pages" / name).write_text("{\n" + ",\n".join([*pieces, f' "runs": [\n{runs}\n ]']) + "\n}\n", encoding="utf-8")


BOLD = {"name": "Helvetica-Bold", "family": "Helvetica", "bold": True}
HEAD = {"font": BOLD, "fill": [0.87, 0.92, 0.86, 1]}


def hut():
    page = Page()
    page.raw('<p class="lead">Four walls of stone that were here already, two floors of larch on top of them, and a roof that has been '
             'away twice and found both times.</p>')
    page.picture("Hut-in-July", "The hut on its terrace, flags between balcony and mast, the mountain behind it",
                 scale=0.45, enableborder=True, bordersize=8, bordercolour=[1, 1, 1, 1], enableshadow=True, shadowoffset=4.0,
                 shadowblur=10.0, shadowcolour=[0.3, 0.3, 0.3, 1], fillcolour=[0.965, 0.953, 0.925, 1], type=1)
    page.caption("A Sunday in July. The flags go up when there is soup.")
    page.heading("The house")
    page.prose("The ground floor was a shelter for drovers and their cattle; the rings are still in the wall of the dry room, and "
               "your rope hangs on one of them. In 1934 eleven members of the club carried up the timber for the rest, in "
               "**four hundred and six loads**, which they wrote down one by one in the first [book of the hut](#book).",
               "Since then the house has had a new roof (1951, after the storm), another new roof (1952, after the next one), water "
               "from the spring (1968), light from the sun (1997) and [a kitchen](page:kitchen) in which two people can stand.")
    page.heading("What is where")
    page.items(["**Ground floor**",
                ("dining room, with the stove", "kitchen, where you knock", "dry room",
                 ("ropes and boots on the left,", "wet dogs on the right",)),
                "**First floor**",
                ("three rooms of six beds", "the balcony, which is for everybody",),
                "**Under the roof**",
                ("two lofts of twelve", "a window to the Halberd, for those who cannot sleep",),
                "**Behind the house**, all year",
                ("the [winter room](page:winter)", "the woodshed", "two earth closets with the best view of all",)],
               "disc", "circle", "square")
    page.heading("A day up here")
    page.table(3, [[("Time", HEAD), ("In summer", HEAD), ("In autumn", HEAD)],
                   [("4.00", {"font": BOLD}), ("Those for the Halberd get up, quietly", {"columns": 1}), "\u2013"],
                   [("5.30", {"font": BOLD}), ("Breakfast", {"columns": 1}), "Those for the Halberd get up"],
                   [("12.00", {"font": BOLD}), ("Soup is ready, and stays so until eight", {"rows": 2, "fill": [0.99, 0.95, 0.82, 1]}), "Soup"],
                   [("15.00", {"font": BOLD}), "Cake, while there is any"],
                   [("18.30", {"font": BOLD}), ("Supper", {}), ("Supper, with candles", {"color": RED, "fill": ROSE})],
                   [("22.00", {"font": BOLD}), ("Quiet", {}), "You are asleep already"]], border=1)
    page.heading("Rules of the house")
    page.items(["Boots stay in the dry room. Slippers are in the basket; none of them match.",
                "The person who takes the last log brings in three.",
                "When the bell rings, everybody who can walk goes out and rings back.",
                ("One stroke: somebody is in the fog.", "Three strokes: come and help.",),
                "Nobody pays for tea who has carried something up for us. *Ask in Tessen, at the baker's.*"], "decimal", "lower-alpha")
    page.raw('<div class="note"><strong>Quiet hours</strong> are from ten to five. In the lofts a whisper carries to the far wall, and so does a zip.</div>')
    page.heading("The book", anchor="book")
    page.picture("stars-over-the-lake", "Stars above the Halberd and the lake", scale=0.28, rotation=-3.0, clip=False, enableborder=True,
                 bordersize=6, bordercolour=[1, 1, 1, 1], fillcolour=[0.965, 0.953, 0.925, 1], type=1)
    page.prose("Since 1934 everybody has written where they came from and where they were going. There are eleven volumes. Some entries "
               "are long, most are a name and a mountain, and one says only *\u201cyes\u201d*, in June 1962, with two signatures.")
    page.heading("To read on")
    for text, link in (("Beds and prices", {"href": "page:beds", "title": "How to get one of 42"}),
                       ("The hut in January", {"href": "page:photographs/hut-in-january", "title": "From the album"}),
                       ("Map of the pass", {"href": "asset:sorrel-pass-map.pdf", "title": "One page, A4", "rel": "asset"}),
                       ("Avalanche bulletin", {"href": "page:bulletin"}),
                       ("Tessen Mountain Club", {"href": "https://www.example.org/club?hut=sorrel&lang=en", "title": "Who keeps this house",
                                                 "rel": "noopener"})):
        page.run("\t\u2022\t", {"alignment": 0, "textLists": ["{square}"]})
        page.run(text, {"alignment": 0, "textLists": ["{square}"]}, link=link)
        page.run("\n", {"alignment": 0, "textLists": ["{square}"]})
    page.run("\nFor schools and clubs there is ")
    page.run("everything in one folder", underline=1)
    page.run(": ")
    page.download("groups.zip", "Folder for groups.zip")
    page.write("hut.json")


def halberd():
    page = Page()
    page.inline("The Halberd is not a difficult mountain, but it is a *serious* one. The way is marked to the ladder and obvious above it. You "
                "need good boots, a head for heights, seven hours and a forecast without the word *thunder*. Until the middle of July you "
                "also need spikes, for the gully.\n\n")
    page.picture("halberd-at-dawn", "The Halberd in red light, mirrored in the lake", scale=0.46, type=1)
    page.caption("Five in the morning, from the landing stage. The way goes up along the left edge of the light.")
    page.heading("The way")
    page.items(["**Hut to pass**, 25 minutes. With a lamp, and past the wall of the drovers.",
                "**Pass to saddle**, 1 hour 30. Scree, then grass, then scree.",
                ("Keep to the right of the snow.", "Drink now: there is no more water.",),
                "**Saddle to ladder**, 45 minutes. Blocks, some of which move.",
                "**The ladder**, 14 rungs, 5 metres.",
                ("One person at a time.", "Those who come down have the right of way.", "If it is wet, *turn round*.",),
                "**Ladder to summit**, 1 hour. Easy rock, one step to the left over a gap that looks wider than it is."],
               "decimal", "lower-roman")
    page.heading("Before you start")
    page.table(2, [[("By now", {"font": BOLD}), ("you should be", {"font": BOLD})], ["6.00", "on the pass"], ["8.00", "at the ladder"],
                   [("10.00", {"color": RED, "font": BOLD, "fill": ROSE}), ("on the summit, or on your way down", {"color": RED, "fill": ROSE})], ["13.00", "eating soup"]], border=1)
    page.prose("Thunder comes from behind the mountain, in the early afternoon, and you will hear it before you can see it. The rule is old: "
               "**at ten o'clock everybody turns round**, wherever they are. The summit has been there for some time.")
    page.heading("What you see")
    page.prose("Four valleys, three lakes, on clear days the sea, and on all other days the cloud on top of it. The [photographs of both "
               "evenings](page:photographs/little-halberd-at-dusk) were made from the Little Halberd, which is the better mountain for people "
               "who want to look at the big one.")
    page.raw('<blockquote>\u201cAscended by way of the wrong ridge, descended by way of the right one, and shall not say which is which.\u201d<br />'
             '\u2014 from the book of the hut, 1948</blockquote>')
    page.run("The ")
    page.run("track", link={"href": "asset:tracks.zip", "title": "With three others, in one archive"})
    page.run(" shows the right one. Read also about ")
    page.run("the other walks", link={"href": "page:walks"})
    page.run(", and ")
    page.run("look at the bulletin", link={"href": "page:bulletin"})
    page.run(" as long as there is snow.\n")
    page.write("halberd.json")


def archive(path, files):
    """The same bytes each time: no dates, no owners."""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as out:
        for name, text in files:
            entry = zipfile.ZipInfo(name, (1980, 1, 1, 0, 0, 0))
            entry.compress_type = zipfile.ZIP_DEFLATED
            out.writestr(entry, text)


def track(name, points):
    rows = "\n".join(f'   <trkpt lat="{lat:.5f}" lon="{lon:.5f}"><ele>{height:.0f}</ele></trkpt>' for lat, lon, height in points)
    return (f'<?xml version="1.0" encoding="UTF-8"?>\n<gpx version="1.1" creator="Sorrel Pass Hut" xmlns="http://www.topografix.com/GPX/1/1">\n'
            f' <trk>\n  <name>{name}</name>\n  <trkseg>\n{rows}\n  </trkseg>\n </trk>\n</gpx>\n')


def way(to, up, steps=60, wobble=0.0006):
    """From the hut to a place as far north and east, and as many metres up."""
    for step in range(steps + 1):
        part = step / steps
        yield (to[0] * part + wobble * math.sin(part * 19), to[1] * part + wobble * math.cos(part * 23), 2184 + up * part ** 1.2)


def downloads():
    lake = [(0.004 * math.sin(a / 10), 0.006 - 0.006 * math.cos(a / 10), 2154) for a in range(63)]
    archive(HERE / "assets/tracks.zip", [("a-round-the-lake.gpx", track("Round Lake Mirrin", lake)),
                                         ("b-larches.gpx", track("To the larches", way((-0.012, 0.008), -220))),
                                         ("c-little-halberd.gpx", track("Little Halberd", way((0.011, -0.014), 506))),
                                         ("d-halberd.gpx", track("Halberd", way((0.02, 0.004), 857)))])
    group = [("rooms.txt", "Ground floor: dining room, kitchen, dry room\nFirst floor: rooms 1 to 3, six beds each\nUnder the roof: lofts A and B, "
                           "twelve beds each\n"),
             ("packing-list.txt", "Sleeping bag liner\nSlippers\nLamp\nWarm jacket, also in August\nRain jacket, also in sunshine\nWater, two litres\n"
                                  "Something to share\n"),
             ("letter-to-parents.txt", "Dear parents,\n\nthere is no signal, there are no spiders to speak of, and the lake is cold. Everybody will come "
                                       "back tired.\n\nThe warden\n")]
    archive(HERE / "assets/groups.zip", group)
    archive(HERE / "pages/groups.zip", group)
    (HERE / "assets/sorrel-pass-map.pdf").write_bytes(map_of_the_pass())


def map_of_the_pass():
    """A page with contour lines, the lake and the four ways, drawn with the operators of the format itself."""
    out = ["0.965 0.953 0.925 rg 0 0 595 842 re f"]

    def ring(x, y, wide, high, colour, width, turn):
        points = []
        for step in range(73):
            a = math.radians(step * 5)
            swell = 1 + 0.09 * math.sin(3 * a + turn) + 0.05 * math.sin(7 * a + 2 * turn)
            points.append((x + wide * swell * math.cos(a), y + high * swell * math.sin(a)))
        out.append(f"{colour} RG {width} w " + " ".join(f"{px:.1f} {py:.1f} {'l' if n else 'm'}" for n, (px, py) in enumerate(points)) + " s")

    for centre, count, turn in (((330, 610), 17, 0.4), ((150, 560), 10, 2.1), ((500, 520), 9, 4.0)):
        for number in range(1, count + 1):
            ring(*centre, 9 * number, 8 * number, "0.72 0.6 0.45", 1.1 if number % 5 == 0 else 0.5, turn + number * 0.06)
    out.append("0.72 0.85 0.9 rg 0.3 0.5 0.6 RG 1 w 250 330 m 290 380 370 385 400 345 c 420 310 380 280 330 285 c 280 290 235 300 250 330 c b")

    def line(points, colour, dash):
        out.append(f"{colour} RG 2 w [{dash}] 0 d " + " ".join(f"{x} {y} {'l' if n else 'm'}" for n, (x, y) in enumerate(points)) + " S [] 0 d")

    line([(232, 395), (228, 330), (260, 272), (340, 262), (410, 290), (425, 345), (385, 400), (300, 410), (232, 395)], "0.64 0.15 0.11", "")
    line([(232, 395), (200, 330), (215, 250), (180, 180), (190, 90)], "0.64 0.15 0.11", "8 3")
    line([(232, 395), (240, 440), (205, 480), (170, 520), (150, 560)], "0.64 0.15 0.11", "4 3")
    line([(232, 395), (240, 440), (285, 490), (275, 540), (310, 580), (330, 610)], "0.64 0.15 0.11", "1 3")
    out.append("0.12 0.29 0.27 rg 225 388 m 232 402 l 239 388 l h f 326 606 m 330 614 l 334 606 l h f 146 556 m 150 564 l 154 556 l h f")

    def text(x, y, size, words):
        out.append(f"BT /F1 {size} Tf {x} {y} Td ({words}) Tj ET")

    text(40, 785, 26, "Sorrel Pass")
    text(40, 765, 11, "Hut 2,184 m. Lines every 50 m. Not for finding your way in fog: follow the poles.")
    for x, y, words in ((342, 612, "Halberd 3,041"), (80, 572, "Little Halberd 2,690"), (295, 330, "Lake Mirrin"), (165, 398, "Hut"),
                        (250, 442, "Pass"), (205, 120, "to Tessen"), (440, 520, "Kettle")):
        text(x, y, 12, words)
    for row, words in enumerate(("A  Round the lake, 1 h", "B  Larches, 2 h", "C  Little Halberd, 4 h", "D  Halberd, 7 h")):
        text(380, 180 - 18 * row, 11, words)
    content = "\n".join(out)
    objects = ["<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
               "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R /Resources << /Font << /F1 5 0 R >> >> >>",
               f"<< /Length {len(content)} >>\nstream\n{content}\nendstream", "<< /Type /Font /Subtype /Type1 /BaseFont /Times-Roman >>"]
    document, offsets = "%PDF-1.4\n", []
    for number, body in enumerate(objects, 1):
        offsets.append(len(document))
        document += f"{number} 0 obj\n{body}\nendobj\n"
    start = len(document)
    document += f"xref\n0 {len(objects) + 1}\n0000000000 65535 f \n" + "".join(f"{offset:010} 00000 n \n" for offset in offsets)
    return (document + f"trailer\n<< /Size {len(objects) + 1} /Root 1 0 R >>\nstartxref\n{start}\n%%EOF\n").encode("ascii")


hut()
halberd()
downloads()
