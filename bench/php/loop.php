<?php
$i = 0;
while ($i < 1000) {
    $i = $i + 1;
    $s = '';
    $j = 0;
    while ($j < 100) {
        $j = $j + 1;
        $s = $s . 'ab';
    }
}
echo 'i=' . $i . ' j=' . $j . ' s=' . $s;
