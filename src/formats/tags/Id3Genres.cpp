#include "formats/tags/Id3Genres.h"

#include <QStringList>

namespace velloria
{

namespace
{

/// 0 to 79 is the list of https://id3.org/ID3v1, the rest are extensions that players agreed on later.
constexpr char16_t genreNames[] =
    u"Blues,Classic Rock,Country,Dance,Disco,Funk,Grunge,Hip-Hop,Jazz,Metal,New Age,Oldies,Other,Pop,"
    u"R&B,Rap,Reggae,Rock,Techno,Industrial,Alternative,Ska,Death Metal,Pranks,Soundtrack,Euro-Techno,"
    u"Ambient,Trip-Hop,Vocal,Jazz+Funk,Fusion,Trance,Classical,Instrumental,Acid,House,Game,Sound Clip,"
    u"Gospel,Noise,AlternRock,Bass,Soul,Punk,Space,Meditative,Instrumental Pop,Instrumental Rock,Ethnic,"
    u"Gothic,Darkwave,Techno-Industrial,Electronic,Pop-Folk,Eurodance,Dream,Southern Rock,Comedy,Cult,"
    u"Gangsta,Top 40,Christian Rap,Pop/Funk,Jungle,Native American,Cabaret,New Wave,Psychedelic,Rave,"
    u"Showtunes,Trailer,Lo-Fi,Tribal,Acid Punk,Acid Jazz,Polka,Retro,Musical,Rock & Roll,Hard Rock,Folk,"
    u"Folk-Rock,National Folk,Swing,Fast Fusion,Bebop,Latin,Revival,Celtic,Bluegrass,Avantgarde,"
    u"Gothic Rock,Progressive Rock,Psychedelic Rock,Symphonic Rock,Slow Rock,Big Band,Chorus,"
    u"Easy Listening,Acoustic,Humour,Speech,Chanson,Opera,Chamber Music,Sonata,Symphony,Booty Bass,"
    u"Primus,Porn Groove,Satire,Slow Jam,Club,Tango,Samba,Folklore,Ballad,Power Ballad,Rhythmic Soul,"
    u"Freestyle,Duet,Punk Rock,Drum Solo,A Cappella,Euro-House,Dance Hall";

const QStringList& genres()
{
    static const QStringList names = QString::fromUtf16(genreNames).split(u',');
    return names;
}

/// Positions in the list.
constexpr int genresWithCode[] = {2, 3, 8, 10, 13, 17, 18, 19, 20, 24, 31, 32, 35, 52, 80, 98};

} // namespace

QString nameOfGenre(int64_t number)
{
    return number >= 0 && number < genres().size() ? genres()[number] : QString();
}

int numberOfGenre(const QString& name)
{
    for (const int number : genresWithCode) {
        if (genres()[number] == name)
            return number + 1;
    }
    return -1;
}

} // namespace velloria
