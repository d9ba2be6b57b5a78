#!/usr/bin/perl
# Writes tests/data/exif/golden.tsv: for every real camera file in which
# ExifTool finds an Exif IFD, the ExifParamEx fields as an independent reader
# sees them. ExifTool reads the file (numbers unconverted, rationals as their
# raw numerator/denominator); the record's own rules are then applied: a field
# is taken only from its directory and only when the tag has the required
# type, a tag listed twice gives its first occurrence, texts are cut to 259
# characters. Absent fields keep the record's defaults (0, Flash 255).
#
#   perl tests/exif/make_golden.pl tests/data/exif/real > tests/data/exif/golden.tsv
#
# and for the two samples with fields of the wrong type that the golden test
# writes itself:
#
#   ZKIMGSET_KEEP_TYPED_SAMPLES=/tmp/typed build/bin/zkimgset_exif_tests \
#       --gtest_filter='ExifGolden*'
#   perl tests/exif/make_golden.pl /tmp/typed | tail -n +2 >> tests/data/exif/golden.tsv
#
# Needs Image::ExifTool (Debian: libimage-exiftool-perl).
use strict;
use warnings;
use Image::ExifTool;

my $folder = shift or die "usage: $0 FOLDER\n";

# field, tag ID, directory (ExifTool's family-1 group), format ExifTool names
# the required TIFF type by.
my @fields = (
    [ 'CustomRendered',        0xA401, 'ExifIFD', 'int16u' ],
    [ 'BrightnessValue',       0x9203, 'ExifIFD', 'rational64s' ],
    [ 'LightSource',           0x9208, 'ExifIFD', 'int16u' ],
    [ 'Flash',                 0x9209, 'ExifIFD', 'int16u' ],
    [ 'ExposureMode',          0xA402, 'ExifIFD', 'int16u' ],
    [ 'WhiteBalance',          0xA403, 'ExifIFD', 'int16u' ],
    [ 'DigitalZoomRatio',      0xA404, 'ExifIFD', 'rational64u' ],
    [ 'SceneCaptureType',      0xA406, 'ExifIFD', 'int16u' ],
    [ 'Sharpness',             0xA40A, 'ExifIFD', 'int16u' ],
    [ 'FocalLengthIn35mmFilm', 0xA405, 'ExifIFD', 'int16u' ],
    [ 'SubjectDistanceRange',  0xA40C, 'ExifIFD', 'int16u' ],
    [ 'Contrast',              0xA408, 'ExifIFD', 'int16u' ],
    [ 'Saturation',            0xA409, 'ExifIFD', 'int16u' ],
    [ 'Make',                  0x010F, 'IFD0',    'string' ],
    [ 'Model',                 0x0110, 'IFD0',    'string' ],
    [ 'ISOSpeedRatings',       0x8827, 'ExifIFD', 'int16u' ],
    [ 'ExposureTime',          0x829A, 'ExifIFD', 'rational64u' ],
    [ 'FNumber',               0x829D, 'ExifIFD', 'rational64u' ],
    [ 'ShutterSpeedValue',     0x9201, 'ExifIFD', 'rational64s' ],
    [ 'ApertureValue',         0x9202, 'ExifIFD', 'rational64u' ],
);

# Texts are written with every byte outside printable ASCII, and '%', as %XX.
sub escape {
    my ($text) = @_;
    $text =~ s/([^\x21-\x24\x26-\x7E])/sprintf('%%%02X', ord $1)/ge;
    return $text;
}

opendir(my $dir, $folder) or die "$folder: $!\n";
my @files = sort grep { -f "$folder/$_" } readdir $dir;
closedir $dir;

print "# file\tfield=value ... (rationals as numerator/denominator; written by make_golden.pl)\n";
for my $file (@files) {
    my $et = Image::ExifTool->new;
    $et->Options(Duplicates => 1, Unknown => 1, PrintConv => 0, SaveFormat => 1);
    $et->ExtractInfo("$folder/$file") or next;
    my @keys = $et->GetFoundTags('File');
    next unless grep { $et->GetGroup($_, 1) eq 'ExifIFD' } @keys;

    my @row = ($file);
    for my $field (@fields) {
        my ($name, $id, $group, $format) = @$field;
        my $value;
        for my $key (@keys) {
            next unless $et->GetGroup($key, 1) eq $group;
            my $tag_id = $et->GetTagID($key);
            next unless defined $tag_id and $tag_id =~ /^\d+$/ and $tag_id == $id;
            # The first occurrence decides, whatever its type.
            if ($et->GetGroup($key, 6) eq $format) {
                if ($format =~ /^rational/) {
                    $value = $et->GetValue($key, 'Rational');
                    $value = (split ' ', $value)[0] if defined $value;
                } elsif ($format eq 'string') {
                    $value = escape(substr($et->GetValue($key, 'Raw'), 0, 259));
                } else {
                    $value = (split ' ', $et->GetValue($key, 'Raw'))[0];
                }
            }
            last;
        }
        next unless defined $value;
        push @row, "$name=$value";
    }
    print join("\t", @row), "\n";
}
