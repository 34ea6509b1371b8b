<?php
function add($a, $b) {
    return $a + $b;
}
$k = 0;
$t = 0;
while ($k < 20000) {
    $k = $k + 1;
    $t = add($t, $k);
}
echo 'k=' . $k . ' t=' . $t . "\n";
