<?php
include __DIR__ . '/header.php';
function money($cents) {
    return '$' . intdiv($cents - $cents % 100, 100) . '.' . str_pad($cents % 100, 2, '0', STR_PAD_LEFT);
}
$fruits = 'apple,banana,cherry,damson,elderberry,fig,grape,huckleberry,kiwi,lemon';
$total = 0;
$i = 0;
echo "\n<TABLE>\n<TR><TH>#</TH><TH>Item</TH><TH>Price</TH><TH>Running total</TH></TR>\n\n";
while ($i < 200) {
    $i = $i + 1;
    $name = explode(',', $fruits)[($i - 1) % 10];
    $price = 100 + $i * 37 % 900;
    $total = $total + $price;
    echo '<TR><TD>', $i, '</TD><TD>', $name, '</TD><TD>', money($price), '</TD><TD>', money($total), "</TD></TR>\n";
}
echo "</TABLE>\n<P>", $i, ' rows, ', money($total), " in all.</P>\n</BODY>\n</HTML>\n";
