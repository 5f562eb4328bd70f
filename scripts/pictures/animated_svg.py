"""Frames of a terminal as one SVG that plays them over and over, without a script: the frames lie below each other, and
a window moves from one to the next."""
from xml.sax.saxutils import escape

CELL, LINE, MARGIN, HEAD = 8.4, 18, 16, 30
STYLE = """
text { font: 14px "DejaVu Sans Mono", "Liberation Mono", Menlo, Consolas, monospace; fill: #D8DEE6; white-space: pre }
.b { font-weight: bold } .f { fill: #8B95A1 } .g { fill: #7CC38A } .r { fill: #F08A7E } .c { fill: #E9C46A }
.caption { font: 13px Roboto, "Helvetica Neue", Arial, sans-serif; fill: #8B95A1 }
"""


def animated_svg(frames, columns, rows, seconds, caption):
    """`frames` are (second, lines of Screen.lines()), the first at 0; the last one lasts until `seconds`. Styles
    are classes of STYLE."""
    width, height = round(columns * CELL + 2 * MARGIN), rows * LINE + MARGIN + HEAD
    ids, definitions, film, moves = {}, [], [], []
    for number, (second, lines) in enumerate(frames):
        for row, spans in enumerate(lines):
            if spans:
                if spans not in ids:
                    ids[spans] = f"l{len(ids)}"
                    definitions.append(f'<g id="{ids[spans]}">{"".join(map(text_of, spans))}</g>')
                film.append(f'<use href="#{ids[spans]}" y="{number * height + row * LINE}"/>')
        moves.append(f"{100 * second / seconds:.2f}% {{ transform: translateY({-number * height}px) }}")
    return f"""<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" viewBox="0 0 {width} {height}">
<style>{STYLE}
#film {{ animation: film {seconds:.1f}s step-end infinite }}
@keyframes film {{ {" ".join(moves)} }}
@media (prefers-reduced-motion) {{ #film {{ animation: none }} }}
</style>
<defs>{"".join(definitions)}</defs>
<rect width="{width}" height="{height}" rx="8" fill="#1F2630"/>
<text class="caption" x="{MARGIN}" y="20">{escape(caption)}</text>
<svg y="{HEAD}" width="{width}" height="{rows * LINE + MARGIN / 2:g}"><g id="film" transform="translate(0 0)">
{"".join(film)}
</g></svg>
</svg>
"""


def text_of(span):
    column, text, style = span
    place = f'x="{MARGIN + column * CELL:.1f}" y="{LINE - 4}" textLength="{len(text) * CELL:.1f}"'
    return f'<text {place}{f" class={chr(34)}{style}{chr(34)}" if style else ""}>{escape(text)}</text>'
