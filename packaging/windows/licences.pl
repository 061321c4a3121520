#!/usr/bin/perl
# licences.pl texts|spdx QT-SOURCES QUAZIP-SOURCES PROGRAM-VERSION: prints all works that are linked into the Windows
# program, either with their licence texts or as an SPDX list. Fails if Qt's sources name a work that this script does
# not know.
use strict;
use warnings;
use JSON::PP;

my ($format, $qt, $quazip, $program_version) = @ARGV;
my $doc = '/usr/share/doc';

# Qt's sources name all works in these two lists. This build of Qt contains the works in the first list, but none of the
# works in the second list.
my %is_linked = map { $_ => 1 } qw(
    aglfn doubleconversion easing freebsd grayraster harfbuzz-ng libpng md4 md5 pcre2 pcre2-sljit psl qtsciicodec
    rfc6234 sha1 sha3_endian sha3_keccak smooth-scaling-algorithm tinycbor unicode-character-database unicode-cldr
    webgradients xserverhelper);
my %is_left_out = map { $_ => 1 } qw(
    VulkanMemoryAllocator android-gradle-wrapper android-native-style angle angle-arrayboundsclamper angle-khronos
    angle-murmurhash angle-systeminfo angle-trace_event cocoa-platform-plugin cycle dejayvu forkfd freetype freetype-bdf
    freetype-pcf freetype-zlib harfbuzz icc-sRGB-color-profile libdbus-1-headers libjpeg linuxperf md4c
    opengl-es2-headers opengl-headers pixman qbig5codecs qbkcodec qeucjpcodec qeuckrcodec qeventdispatcher_cf qjiscodec
    qsjiscodec valgrind vera_font vulkan-xml-spec xcb-xinput zlib);

sub contents {
    my ($file) = @_;
    open my $handle, '<:raw', $file or die "Cannot read $file\n";
    local $/;
    return <$handle>;
}

sub package_version {
    my ($package) = @_;
    my $version = qx(dpkg-query -W -f '\${Version}' $package);
    die "The package $package is not installed\n" if $?;
    return $version;
}

sub source_version {
    my ($folder) = @_;
    my $version = qx(cd '$folder' && dpkg-parsechangelog -S Version);
    die "Cannot find the version of $folder\n" if $?;
    chomp $version;
    return $version;
}

# Returns the linked works that Qt's sources name. Reads the same files as Qt's own documentation.
sub works_in_qt {
    my @works;
    for my $file (sort split /\n/, qx(find '$qt/src' -name qt_attribution.json)) {
        my $entries = JSON::PP->new->loose->decode(contents($file));
        $file =~ s{/[^/]*$}{};
        for my $entry (ref $entries eq 'ARRAY' ? @$entries : $entries) {
            my $id = $entry->{Id};
            die "$file: is $id linked into the program?\n" unless $is_linked{$id} || $is_left_out{$id};
            next unless $is_linked{$id};
            my $text = $entry->{LicenseFile} ? "$file/$entry->{LicenseFile}" : undef;
            $text = "$qt/src/3rdparty/freetype/LICENSE.txt" if $id eq 'grayraster';
            push @works, {
                name => "Qt: $entry->{Name}", version => $entry->{Version}, id => $entry->{LicenseId},
                text => $text ? contents($text) : "$entry->{License}\n$entry->{Copyright}\n",
            };
        }
    }
    die 'Qt no longer names ' . (%is_linked - @works) . " of the linked works\n" if @works != %is_linked;
    return @works;
}

sub works {
    my $mingw = package_version('mingw-w64-i686-dev');
    my $gcc = package_version('g++-mingw-w64-i686-posix');
    return (
        {name => 'Qt (Core, Gui, Widgets, Concurrent, Windows plug-ins)', version => source_version($qt),
            id => 'LGPL-3.0-only', text => contents("$qt/LICENSE.LGPL3")},
        {name => 'GNU General Public License, which the licence above refers to', is_text_only => 1,
            text => contents("$qt/LICENSE.GPL3")},
        {name => "Qt's translations", version => package_version('qttranslations5-l10n'),
            id => 'GPL-3.0-only WITH Qt-GPL-exception-1.0', text => contents("$doc/qttranslations5-l10n/copyright")},
        works_in_qt(),
        {name => 'QuaZip, with MiniZip', version => source_version($quazip), id => 'LGPL-2.1-only AND Zlib',
            text => contents("$quazip/COPYING")},
        {name => 'zlib', version => package_version('libz-mingw-w64-dev'), id => 'Zlib',
            text => contents("$doc/libz-mingw-w64-dev/copyright")},
        {name => "GCC's run-time and C++ libraries", version => $gcc, id => 'GPL-3.0-or-later WITH GCC-exception-3.1',
            text => contents("$doc/gcc-mingw-w64-i686-posix/copyright")},
        {name => "mingw-w64's run-time library and winpthreads", version => $mingw, id => 'ZPL-2.1 AND MIT',
            text => contents("$doc/mingw-w64-common/copyright")},
    );
}

sub print_texts {
    print <<'END';
The ZEFO VYNT firmware update contains the works below, under the licences that follow.

Your right to exchange Qt and QuaZip: the sources of this version of the program are offered to you, free of charge, by
whoever gave you the program. They contain all that is needed to link it again with a Qt or QuaZip that you modified:
docs/windows.md, "Another Qt", says how.
END
    for my $work (@_) {
        printf "\n======== %s ========\n\n%s", join(' ', grep { defined } $work->{name}, $work->{version}), $work->{text};
    }
}

# Prints the works as tags and values of SPDX 2.3. If the name of a licence in Qt's sources is not an identifier of
# SPDX, prints NOASSERTION instead of the name.
sub print_spdx {
    print <<"END";
SPDXVersion: SPDX-2.3
DataLicense: CC0-1.0
SPDXID: SPDXRef-DOCUMENT
DocumentName: zefo-vynt-firmware-update-$program_version
DocumentNamespace: urn:spdx:zefo-vynt-firmware-update-$program_version
Creator: Tool: licences.pl
Created: $ENV{CREATED}
END
    my $number = 0;
    for my $work (grep { !$_->{is_text_only} } @_) {
        ++$number;
        my $id = $work->{id} // 'NOASSERTION';
        $id = 'NOASSERTION' if $id =~ / License$|^NONE$| or /;
        my $version = $work->{version} // 'NOASSERTION';
        print <<"END";

PackageName: $work->{name}
SPDXID: SPDXRef-Package-$number
PackageVersion: $version
PackageDownloadLocation: NOASSERTION
FilesAnalyzed: false
PackageLicenseConcluded: $id
PackageLicenseDeclared: $id
PackageCopyrightText: NOASSERTION
Relationship: SPDXRef-DOCUMENT DESCRIBES SPDXRef-Package-$number
END
    }
}

$format eq 'spdx' ? print_spdx(works()) : print_texts(works());
