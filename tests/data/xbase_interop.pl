#!/usr/bin/perl
# Perl's XBase module and the engine's table classes read each other's
# tables: every field type, memo texts over one and several blocks, empty
# values and deleted records, and records that one side adds to a table the
# other side made.
# Usage: perl tests/data/xbase_interop.pl path/to/table_tool
use strict;
use warnings;
use File::Temp qw(tempdir);
use XBase;

my $tool = shift or die "usage: $0 TABLE_TOOL\n";
my $dir = tempdir(CLEANUP => 1);
my $failures = 0;

sub check {
    my ($what, $got, $want) = @_;
    if ($got eq $want) {
        print "ok - $what\n";
    } else {
        print "not ok - $what\n--- got\n$got\n--- expected\n$want\n";
        $failures++;
    }
}

sub run {
    system($tool, @_) == 0 or die "table_tool @_ failed\n";
}

# Both readers' values in one form: the deletion flag, then each field;
# numbers and dates as Perl numbers, logicals as 1, 0 or empty, texts as
# they are with trailing blanks dropped. Long texts are shortened to their
# length and ends.
sub normal {
    my ($type, $value) = @_;
    return '' if not defined $value;
    if ($type eq 'N' or $type eq 'D') {
        return $value =~ /\d/ ? $value + 0 : '';
    }
    if ($type eq 'L') {
        return 1 if $value =~ /^[YyTt]$/ or $value eq '1';
        return 0 if $value =~ /^[NnFf]$/ or $value eq '0';
        return '';
    }
    $value =~ s/\s+$// if $type eq 'C';
    return length($value) > 40
        ? length($value) . ':' . substr($value, 0, 10) . '..' . substr($value, -10)
        : $value;
}

sub perl_rows {
    my ($path) = @_;
    my $table = XBase->new(name => $path, ChopBlanks => 1) or die XBase->errstr;
    my @types = $table->field_types;
    my @rows;
    for my $i (0 .. $table->last_record) {
        my ($deleted, @values) = $table->get_record($i);
        die $table->errstr if not defined $deleted;
        push @rows, join '|', ($deleted ? '*' : ' '), map { normal($types[$_], $values[$_]) } 0 .. $#values;
    }
    $table->close;
    return join "\n", @rows;
}

sub engine_rows {
    my ($path) = @_;
    open my $dump, '-|', $tool, 'dump', $path or die "$tool: $!\n";
    my $head = <$dump>;
    die "table_tool dump $path failed\n" if not defined $head;
    chomp $head;
    my @types = split /\t/, $head;
    my @rows;
    while (my $line = <$dump>) {
        chomp $line;
        my ($flag, @values) = split /\t/, $line, -1;
        s/\\(.)/$1 eq 't' ? "\t" : $1 eq 'n' ? "\n" : $1/ge for @values;
        push @rows, join '|', $flag, map { normal($types[$_], $values[$_]) } 0 .. $#values;
    }
    close $dump or die "table_tool dump $path failed\n";
    return join "\n", @rows;
}

# 1. Tables the engine wrote, read by both.
run('write', $dir);
my $long = 'long text ' x 70;
my $all = join "\n",
    ' |Lamp|7|12.5|20240301|1|A short note',
    ' |Desk chair|120|-3|19991231|0|' . normal('M', $long),
    '*|Gone|1|0.1|||deleted text',
    ' ||||||',
    ' |Changed|99999|99999.99|20000229|1|Memo v2';
check('Perl reads the engine\'s table with memo', perl_rows("$dir/all.dbf"), $all);
check('the engine reads its own table with memo', engine_rows("$dir/all.dbf"), $all);
my $plain = join "\n", ' |1|abc', '*|22|', ' |333|wxyz';
check('Perl reads the engine\'s table without memo', perl_rows("$dir/plain.dbf"), $plain);
check('the engine reads its own table without memo', engine_rows("$dir/plain.dbf"), $plain);

# 2. A table Perl wrote, read by the engine.
my $table = XBase->create(
    name => "$dir/perl.dbf",
    field_names => [qw(TITLE COUNT AMOUNT DAY FLAG BODY)],
    field_types => [qw(C N N D L M)],
    field_lengths => [12, 4, 9, 8, 1, 10],
    field_decimals => [0, 0, 3, 0, 0, 0]) or die XBase->errstr;
my $big = join '', map { chr(ord('a') + $_ % 26) } 0 .. 1299;
$table->set_record(0, 'first', 12, 3.25, '20010915', 1, 'one block') or die $table->errstr;
$table->set_record(1, 'second', -5, -0.5, '19800229', 0, $big) or die $table->errstr;
$table->set_record(2, 'dropped', 0, 0, '20200101', 1, 'gone') or die $table->errstr;
$table->delete_record(2) or die $table->errstr;
$table->set_record(3, '', undef, undef, undef, undef, '') or die $table->errstr;
$table->close;
my $perl = join "\n",
    ' |first|12|3.25|20010915|1|one block',
    ' |second|-5|-0.5|19800229|0|' . normal('M', $big),
    '*|dropped|0|0|20200101|1|gone',
    ' ||||||';
check('Perl reads its own table', perl_rows("$dir/perl.dbf"), $perl);
check('the engine reads Perl\'s table', engine_rows("$dir/perl.dbf"), $perl);

# 3. The engine adds to Perl's table; Perl adds to the engine's.
run('append', "$dir/perl.dbf", 'TITLE=engine', 'COUNT=77', 'AMOUNT=1.500', 'DAY=20261124', 'FLAG=T',
    'BODY=added by the engine');
run('append', "$dir/perl.dbf", '-d', 'TITLE=engine gone', 'BODY=' . ('z' x 600));
$perl .= "\n |engine|77|1.5|20261124|1|added by the engine\n*|engine gone|||||" . normal('M', 'z' x 600);
check('Perl reads records the engine added', perl_rows("$dir/perl.dbf"), $perl);
check('the engine reads records it added to Perl\'s table', engine_rows("$dir/perl.dbf"), $perl);

$table = XBase->new("$dir/all.dbf") or die XBase->errstr;
$table->set_record($table->last_record + 1, 'From Perl', 5, 2.5, '20111111', 0, 'memo from Perl ' x 40)
    or die $table->errstr;
$table->close;
$all .= "\n |From Perl|5|2.5|20111111|0|" . normal('M', 'memo from Perl ' x 40);
check('the engine reads a record Perl added', engine_rows("$dir/all.dbf"), $all);
check('Perl reads it back', perl_rows("$dir/all.dbf"), $all);

print $failures ? "$failures check(s) failed\n" : "all checks passed\n";
exit($failures ? 1 : 0);
