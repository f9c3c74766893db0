# examples.pl [--renew] WORK PAGE...: what tools/examples.sh runs, in the project's folder.
#
#   ```console                      an example: lines "$ COMMAND" are run by bash in a folder of the page's own, the lines
#                                   below are what it prints, output and errors
#   <!-- from: tandorctl ... -->    what follows, up to <!-- end -->, is what this command prints
#   <!-- from: FILE -->             each line of the block that follows is a line of that file
#   <!-- not run: WHY -->           the block that follows shows commands of tandorctl that are not run
#   <!-- shapes -->                 what follows, up to <!-- end -->, is a table: a call, and the shape of what it prints with
#                                   --json; "a line" behind it when each line is an object, "not run" when nobody tries it
#                                   here. Every verb of tandorctl needs a row.
#
# In a shape, a word stands for the value's kind: text, number, flag, null, several with "or" between them; a list shows
# one element; "key?" may be missing; "*" is any key.
#
# In an example "..." stands for text that differs from run to run, alone in a line for any number of lines. Dates with
# their times, and numbers in square brackets, may differ anyway.
use strict;
use warnings;
use JSON::PP;

my $renew = $ARGV[0] eq '--renew' ? shift : '';
my ($work, @pages) = @ARGV;
my ($ran, $wrong) = (0, 0);

sub complain { $wrong++; print "==> $_[0]\n"; }

sub content {
    open my $file, '<', $_[0] or die "error: $_[0] cannot be read: $!\n";
    local $/;
    return <$file> // '';
}

sub output {
    my ($command, $folder) = @_;
    my $pid = fork // die "error: no process for '$command': $!\n";
    if ($pid == 0) {
        chdir $folder;
        open STDIN, '<', '/dev/null';
        open STDOUT, '>', "$work/output";
        open STDERR, '>&', \*STDOUT;
        exec 'timeout', '--kill-after=10', '120', 'bash', '-c', $command;
    }
    waitpid $pid, 0;
    complain("'$command' hung and was ended") if ($? >> 8) =~ /^(124|137)$/ || ($? & 127) == 9;
    $ran++;
    my $came = content("$work/output") =~ s/\r\n/\n/gr;  # errors are text as Windows has it
    return $came =~ s/^wine: .*\n//gmr;
}

sub masked {
    my ($text) = @_;
    $text =~ s/\d{4}-\d\d-\d\d(?:[ T]\d\d:\d\d:\d\d(?:[.,]\d+)?Z?)?/<time>/g;
    $text =~ s/\[[\d:]+\]/[<number>]/g;
    return $text;
}

sub matches {
    my ($shown, $came) = @_;
    my $pattern = quotemeta masked($shown);
    $pattern =~ s/^\\\.\\\.\\\.\\\n/(?:.*\\n)*?/mg;
    $pattern =~ s/\\\.\\\.\\\./.*/g;
    return masked($came) =~ /\A$pattern\z/;
}

# What the page is to show for the command: what it shows, when that is still so.
sub example {
    my ($where, $command, $shown, $folder) = @_;
    my $came = output($command, $folder);
    return $shown if matches($shown, $came);
    complain("$where: '$command' now prints\n$came" . "instead of\n$shown") unless $renew;
    return $came;
}

sub session {
    my ($where, $block, $folder) = @_;
    my $result = '';
    while ($block =~ /\G\$ (.*)\n((?:(?!\$ ).*\n)*)/gc) {
        $result .= "\$ $1\n" . example($where, $1, $2, $folder);
    }
    complain("$where: the example does not begin with '\$ '") if (pos($block) // 0) < length $block;
    return $result;
}

sub quoted {
    my ($where, $block, $file) = @_;
    my %lines = map { $_ => 1 } split /\n/, content($file);
    for (grep { $_ ne '' } split /\n/, $block) { complain("$where: $file has no line '$_'") unless $lines{$_} }
}

sub kind {
    my ($value) = @_;
    return 'null' unless defined $value;
    return 'flag' if JSON::PP::is_bool($value);
    return ref $value eq 'HASH' ? 'object' : 'list' if ref $value;
    return JSON::PP->new->allow_nonref->encode($value) =~ /^"/ ? 'text' : 'number';
}

# What is not as the shape says, in words.
sub misfits {
    my ($shape, $value, $at) = @_;
    my $kind = kind($value);
    if (ref $shape eq 'ARRAY') {
        return "$at is no list but $kind" if $kind ne 'list';
        return "$at has elements that are not shown" if @$value && !@$shape;
        return map { misfits($shape->[0], $value->[$_], "$at\[$_\]") } 0 .. $#$value;
    }
    if (ref $shape ne 'HASH') {
        return (grep { $_ eq $kind } split / or /, $shape) ? () : "$at is not $shape but $kind";
    }
    return "$at is no object but $kind" if $kind ne 'object';
    my %known = map { s/\?$//r => $shape->{$_} } keys %$shape;
    my @missing = grep { !/\?$/ && $_ ne '*' && !exists $value->{$_} } keys %$shape;
    return (map { "$at has no $_" } @missing),
        map { my $of = $known{$_} // $known{'*'}; defined $of ? misfits($of, $value->{$_}, "$at.$_") : "$at has $_ as well" }
        keys %$value;
}

# The shape of a value that has none yet; keys that differ from run to run, or may be missing, are for a person to mend.
sub shape_of {
    my ($value) = @_;
    if (ref $value eq 'ARRAY') { return '[' . (@$value ? shape_of($value->[0]) : '') . ']' }
    return '"' . kind($value) . '"' if ref $value ne 'HASH';
    return '{' . join(', ', map { "\"$_\": " . shape_of($value->{$_}) } sort keys %$value) . '}';
}

# One row: the shape that the page is to show for the call.
sub row {
    my ($page, $call, $shape, $how, $folder) = @_;
    my $came = output("tandorctl --json $call 2>errors", $folder);
    my $said = $came ne '' ? $came : content("$folder/errors");
    $came =~ s/\n.*//s if $how =~ /a line/;
    my $value = eval { JSON::PP->new->decode($came) };
    complain("$page: '$call' with --json prints no JSON but\n$said"), return $shape unless ref $value;
    my @misfits = misfits(JSON::PP->new->decode($shape), $value, 'it');
    return $shape unless @misfits;
    return shape_of($value) if $renew;
    complain("$page: what '$call' prints with --json: " . join('; ', @misfits));
    return $shape;
}

sub shapes {
    my ($page, $table, $folder) = @_;
    my @verbs = output('tandorctl completion markdown', $folder) =~ /^\| `([a-z0-9][a-z0-9-]*(?: [a-z0-9][a-z0-9-]*)*)/mg;
    my @calls;
    $table =~ s{^\| `(.*?)` \| `(.*)`(.*?) \|$}{
        my ($call, $shape, $how) = ($1, $2, $3);
        push @calls, $call;
        $shape = row($page, $call, $shape, $how, $folder) if $how !~ /not run/;
        "| `$call` | `$shape`$how |"}gme;
    for my $verb (@verbs) {
        complain("$page: what '$verb' prints with --json is not shown") unless grep { /^\Q$verb\E( |$)/ } @calls;
    }
    return $table;
}

for my $page (@pages) {
    my $folder = "$work/" . $page =~ s/\W/-/gr;
    mkdir $folder;
    my $text = content($page);
    my $before = $text;
    $text =~ s{^(<!-- from: (tandorctl [^\n]*) -->\n)(.*?)^(<!-- end -->\n)}
              {my ($mark, $command, $shown, $end) = ($1, $2, $3, $4);
               $shown =~ s/\A\n|\n\K\n\z//g;
               "$mark\n" . example($page, $command, $shown, $folder) . "\n$end"}gmse;
    $text =~ s{^((?:<!-- (from|not run): ([^\n]*) -->\n)?)```(\w*)\n(.*?)^```\n}{
        my ($mark, $kind, $what, $language, $block) = ($1, $2 // '', $3, $4, $5);
        my $where = "$page, line " . (1 + substr($text, 0, $-[0]) =~ tr/\n//);
        if ($language eq 'console') { $block = session($where, $block, $folder) }
        elsif ($kind eq 'from') { quoted($where, $block, $what) }
        elsif ($kind eq '' && $block =~ /^[\$>]? ?tandorctl /m) {
            complain("$where: commands of tandorctl that are not run; make it an example or say why not");
        }
        "$mark```$language\n$block```\n";
    }gmse;
    $text =~ s{^(<!-- shapes -->\n)(.*?)^(<!-- end -->\n)}{my ($mark, $table, $end) = ($1, $2, $3);
               $mark . shapes($page, $table, $folder) . $end}gmse;
    next unless $renew && $text ne $before;
    open my $file, '>', $page or die "error: $page cannot be written: $!\n";
    print $file $text;
    close $file or die "error: $page cannot be written: $!\n";
    print "==> renewed $page\n";
}
print "==> ran $ran examples, $wrong of them wrong\n";
exit($wrong ? 1 : 0);
