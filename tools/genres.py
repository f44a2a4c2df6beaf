#!/usr/bin/env python3
"""Prints data/genres.plist, the genre names by number.

"id3": numbers 0 to 79 are those of ID3v1 (Eric Kemp's list of 1996, appendix A of the ID3v2 text); 80 to 147 and 148 to
191 are those that Winamp added to it, the last with its version 5.6. Names are spelled as they are printed today.
"itunes": the names that the genre menu of iTunes offers, in the order of the menu, which is that of the alphabet. These
have no numbers in files.
"""
import plistlib
import sys

ID3 = """
Blues, Classic Rock, Country, Dance, Disco, Funk, Grunge, Hip-Hop, Jazz, Metal, New Age, Oldies, Other, Pop, R&B, Rap,
Reggae, Rock, Techno, Industrial, Alternative, Ska, Death Metal, Pranks, Soundtrack, Euro-Techno, Ambient, Trip-Hop,
Vocal, Jazz+Funk, Fusion, Trance, Classical, Instrumental, Acid, House, Game, Sound Clip, Gospel, Noise, AlternRock,
Bass, Soul, Punk, Space, Meditative, Instrumental Pop, Instrumental Rock, Ethnic, Gothic, Darkwave, Techno-Industrial,
Electronic, Pop-Folk, Eurodance, Dream, Southern Rock, Comedy, Cult, Gangsta Rap, Top 40, Christian Rap, Pop/Funk,
Jungle, Native American, Cabaret, New Wave, Psychedelic, Rave, Showtunes, Trailer, Lo-Fi, Tribal, Acid Punk, Acid Jazz,
Polka, Retro, Musical, Rock & Roll, Hard Rock,

Folk, Folk-Rock, National Folk, Swing, Fast-Fusion, Bebop, Latin, Revival, Celtic, Bluegrass, Avantgarde, Gothic Rock,
Progressive Rock, Psychedelic Rock, Symphonic Rock, Slow Rock, Big Band, Chorus, Easy Listening, Acoustic, Humour,
Speech, Chanson, Opera, Chamber Music, Sonata, Symphony, Booty Bass, Primus, Porn Groove, Satire, Slow Jam, Club,
Tango, Samba, Folklore, Ballad, Power Ballad, Rhythmic Soul, Freestyle, Duet, Punk Rock, Drum Solo, A Cappella,
Euro-House, Dance Hall, Goa, Drum & Bass, Club-House, Hardcore, Terror, Indie, BritPop, Afro-Punk, Polsk Punk, Beat,
Christian Gangsta Rap, Heavy Metal, Black Metal, Crossover, Contemporary Christian, Christian Rock, Merengue, Salsa,
Thrash Metal, Anime, JPop, Synthpop,

Abstract, Art Rock, Baroque, Bhangra, Big Beat, Breakbeat, Chillout, Downtempo, Dub, EBM, Eclectic, Electro,
Electroclash, Emo, Experimental, Garage, Global, IDM, Illbient, Industro-Goth, Jam Band, Krautrock, Leftfield, Lounge,
Math Rock, New Romantic, Nu-Breakz, Post-Punk, Post-Rock, Psytrance, Shoegaze, Space Rock, Trop Rock, World Music,
Neoclassical, Audiobook, Audio Theatre, Neue Deutsche Welle, Podcast, Indie Rock, G-Funk, Dubstep, Garage Rock,
Psybient
"""

ITUNES = """
Alternative, Blues/R&B, Books & Spoken, Children's Music, Classical, Country, Dance, Easy Listening, Electronic, Folk,
Hip Hop/Rap, Holiday, House, Industrial, Jazz, New Age, Pop, Reggae, Religious, Rock, Soundtrack, Techno, Trance,
Unclassifiable, World
"""


def names(text):
    return [name.strip() for name in text.replace("\n", " ").split(",")]


if __name__ == "__main__":
    sys.stdout.buffer.write(plistlib.dumps({"id3": names(ID3), "itunes": names(ITUNES)}))
