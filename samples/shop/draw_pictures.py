#!/usr/bin/python3
"""Draws every picture of the sample shop, the banner icons and the brand logos, beside this file.

A receiver shows the whole banner, and each logo, with 15 colours. So the icons share one small
palette, are filled flat and have hard edges; the scaling to half their size softens these enough.
"""

import math
import os

import cairo

ICON_WIDTH, ICON_HEIGHT = 176, 137  # twice a slot of the banner, 88 x 68.75 pixels
LOGO_WIDTH, LOGO_HEIGHT = 320, 96  # twice the brand region

BLACK = (0.0, 0.0, 0.0)
WHITE = (1.0, 1.0, 1.0)
BLUE = (0.05, 0.32, 0.66)
AMBER = (1.0, 0.72, 0.0)

SANS = "Liberation Sans"
NARROW = "Liberation Sans Narrow"
SERIF = "Liberation Serif"


# Shapes


def fill(context, colour):
    context.set_source_rgb(*colour)
    context.fill()


def arc(context, colour, width, x, y, radius, begin, end):
    context.new_sub_path()
    context.arc(x, y, radius, begin, end)
    context.set_source_rgb(*colour)
    context.set_line_width(width)
    context.stroke()


def box(context, colour, x, y, width, height):
    context.rectangle(x, y, width, height)
    fill(context, colour)


def round_box(context, colour, x, y, width, height, radius):
    right, bottom = x + width - radius, y + height - radius
    context.new_sub_path()
    context.arc(right, y + radius, radius, -math.pi / 2, 0)
    context.arc(right, bottom, radius, 0, math.pi / 2)
    context.arc(x + radius, bottom, radius, math.pi / 2, math.pi)
    context.arc(x + radius, y + radius, radius, math.pi, 3 * math.pi / 2)
    context.close_path()
    fill(context, colour)


def disc(context, colour, x, y, radius):
    context.new_sub_path()
    context.arc(x, y, radius, 0, 2 * math.pi)
    fill(context, colour)


def polygon(context, colour, points):
    for point in points:
        context.line_to(*point)
    context.close_path()
    fill(context, colour)


def select(context, family, size, italic=False):
    slant = cairo.FONT_SLANT_ITALIC if italic else cairo.FONT_SLANT_NORMAL
    context.select_font_face(family, slant, cairo.FONT_WEIGHT_BOLD)
    context.set_font_size(size)


def text(context, colour, x, y, words):
    """Fills the outlines of `words` in the selected font, the baseline starting at (x, y)."""
    context.move_to(x, y)
    context.text_path(words)
    fill(context, colour)


def centred(context, colour, x, y, width, words, size, family=SANS):
    """Bold `words` centred over `width` pixels from x on, baseline y, narrowed to fit in them."""
    select(context, family, size)
    ink = context.text_extents(words)
    squeeze = min(1.0, width / ink.width)
    context.save()
    context.translate(x + (width - squeeze * ink.width) / 2, y)
    context.scale(squeeze, 1.0)
    text(context, colour, -ink.x_bearing, 0, words)
    context.restore()


def tile(context, colour=WHITE):
    """The ground of an icon; the black margin keeps it apart from its neighbours in the column."""
    box(context, BLACK, 0, 0, ICON_WIDTH, ICON_HEIGHT)
    round_box(context, colour, 4, 3, 168, 131, 14)


def heading(context, words, height):
    """A blue strip across the top of a tile, `height` pixels deep, with `words` on it."""
    context.save()
    context.rectangle(0, 0, ICON_WIDTH, 3 + height)
    context.clip()
    round_box(context, BLUE, 4, 3, 168, 131, 14)
    context.restore()
    centred(context, WHITE, 16, 3 + height / 2 + 12, 144, words, 34)


# Icons: kinds of screen


def television(context, words):
    """A television set that shows `words`; the caller puts its mark below them."""
    tile(context)
    round_box(context, BLACK, 14, 12, 148, 98, 8)
    box(context, BLUE, 21, 19, 134, 84)
    box(context, BLACK, 78, 110, 20, 8)
    box(context, BLACK, 50, 117, 76, 8)
    centred(context, WHITE, 29, 67, 118, words, 50)


def draw_led(context):
    television(context, "LED")
    for x in range(34, 150, 18):
        disc(context, AMBER, x, 87, 6)


def draw_lcd(context):
    television(context, "LCD")
    for x in range(29, 146, 17):
        box(context, WHITE, x, 78, 10, 17)


def draw_plasma(context):
    television(context, "PLASMA")
    for x in range(36, 150, 26):
        angles = [corner * math.pi / 3 for corner in range(6)]
        polygon(context, AMBER, [(x + 11 * math.cos(a), 86 + 11 * math.sin(a)) for a in angles])


def draw_oled(context):
    television(context, "OLED")
    box(context, AMBER, 29, 82, 118, 10)


# Icons: size, definition and reception


def draw_size(context):
    tile(context)
    round_box(context, BLACK, 12, 11, 152, 115, 10)
    box(context, WHITE, 20, 19, 136, 99)
    for (x, y), (dx, dy) in (((26, 112), (1, -1)), ((150, 25), (-1, 1))):
        polygon(context, BLUE, [(x, y), (x + 34 * dx, y), (x, y + 34 * dy)])


def draw_hdready(context):
    tile(context)
    centred(context, BLUE, 20, 82, 136, "HD", 92)
    box(context, BLACK, 20, 92, 136, 30)
    centred(context, WHITE, 28, 116, 120, "READY", 26)


def draw_fullhd(context):
    tile(context, BLUE)
    box(context, WHITE, 20, 15, 136, 30)
    centred(context, BLUE, 28, 39, 120, "FULL", 26)
    centred(context, WHITE, 20, 121, 136, "HD", 92)


def draw_ultrahd(context):
    tile(context, AMBER)
    centred(context, BLACK, 20, 82, 136, "4K", 92)
    box(context, BLACK, 20, 92, 136, 30)
    centred(context, WHITE, 24, 116, 128, "ULTRA HD", 26)


def draw_tunerhd(context):
    tile(context)
    heading(context, "TUNER", 42)
    for radius in (22, 38):
        for side in (0, math.pi):
            arc(context, BLUE, 8, 50, 78, radius, side - 0.75, side + 0.75)
    disc(context, BLACK, 50, 78, 9)
    polygon(context, BLACK, [(50, 80), (66, 128), (34, 128)])
    centred(context, BLACK, 100, 110, 58, "HD", 44)


# Icons: connections; the banner writes "X 2" or the like over the right of the white ground


def draw_hdmi(context):
    tile(context)
    heading(context, "HDMI", 42)
    box(context, BLACK, 24, 55, 30, 22)
    round_box(context, BLUE, 15, 75, 48, 38, 8)
    box(context, BLACK, 34, 113, 10, 21)
    polygon(context, BLACK, [(74, 102), (160, 102), (160, 112), (148, 122), (86, 122), (74, 112)])
    box(context, WHITE, 86, 107, 62, 6)


def draw_usb(context):
    tile(context)
    heading(context, "USB", 50)
    box(context, BLACK, 22, 61, 34, 24)
    box(context, WHITE, 28, 69, 8, 8)
    box(context, WHITE, 42, 69, 8, 8)
    round_box(context, BLUE, 15, 83, 48, 34, 8)
    box(context, BLACK, 34, 117, 10, 17)


def draw_3dready(context):
    tile(context, BLUE)
    centred(context, WHITE, 20, 70, 136, "3D", 76)
    box(context, BLACK, 22, 80, 132, 10)
    for x, glass in ((26, AMBER), (94, WHITE)):
        round_box(context, BLACK, x - 4, 80, 64, 46, 14)
        round_box(context, glass, x + 4, 88, 48, 30, 8)


# Logos: a tab with a slanted right edge that stands on the lower third


def tab(context, colour):
    right, bottom = LOGO_WIDTH, LOGO_HEIGHT
    polygon(context, colour, [(0, 0), (right - 28, 0), (right, bottom), (0, bottom)])


def draw_norvane(context):
    teal, mint = (0.0, 0.30, 0.33), (0.45, 0.87, 0.76)
    tab(context, teal)
    polygon(context, mint, [(40, 76), (64, 22), (82, 58), (72, 76)])
    polygon(context, WHITE, [(76, 76), (90, 42), (106, 76)])
    select(context, SANS, 42)
    text(context, WHITE, 116, 68, "norvane")


def draw_tessoval(context):
    red, rust, ink = (0.85, 0.16, 0.13), (0.96, 0.55, 0.18), (0.13, 0.13, 0.16)
    tab(context, WHITE)
    for row, colours in enumerate(((red, rust, ink), (rust, ink, red))):
        for column, colour in enumerate(colours):
            box(context, colour, 40 + 20 * column, 30 + 20 * row, 16, 16)
    select(context, NARROW, 40)
    text(context, ink, 108, 63, "TESSOVAL")


def draw_ovrelle(context):
    violet, pink = (0.33, 0.15, 0.51), (0.86, 0.35, 0.60)
    tab(context, WHITE)
    for colour, radius in ((violet, 32), (WHITE, 20), (pink, 12)):
        disc(context, colour, 72, 48, radius)
    select(context, SERIF, 52, italic=True)
    text(context, violet, 118, 64, "Ovrelle")


def draw_kilduna(context):
    night, sand = (0.12, 0.12, 0.14), (0.98, 0.76, 0.35)
    tab(context, night)
    disc(context, sand, 86, 34, 13)
    polygon(context, sand, [(38, 74), (70, 38), (82, 56), (74, 74)])
    polygon(context, WHITE, [(80, 74), (96, 54), (112, 74)])
    select(context, SANS, 36)
    text(context, WHITE, 120, 68, "KILDUNA")


def write_picture(name, size, draw):
    surface = cairo.ImageSurface(cairo.FORMAT_ARGB32, *size)
    context = cairo.Context(surface)
    context.set_antialias(cairo.ANTIALIAS_NONE)
    draw(context)
    surface.write_to_png(os.path.join(os.path.dirname(os.path.abspath(__file__)), name + ".png"))


ICONS = {
    "led": draw_led,
    "lcd": draw_lcd,
    "plasma": draw_plasma,
    "oled": draw_oled,
    "size": draw_size,
    "hdready": draw_hdready,
    "fullhd": draw_fullhd,
    "ultrahd": draw_ultrahd,
    "tunerhd": draw_tunerhd,
    "hdmi": draw_hdmi,
    "usb": draw_usb,
    "3dready": draw_3dready,
}

LOGOS = {
    "norvane": draw_norvane,
    "tessoval": draw_tessoval,
    "ovrelle": draw_ovrelle,
    "kilduna": draw_kilduna,
}

if __name__ == "__main__":
    for name, draw in ICONS.items():
        write_picture(name, (ICON_WIDTH, ICON_HEIGHT), draw)
    for name, draw in LOGOS.items():
        write_picture(name, (LOGO_WIDTH, LOGO_HEIGHT), draw)
