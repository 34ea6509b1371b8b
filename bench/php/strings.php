<?php
$str = 'The quick brown fox jumps over the lazy dog by the riverbank';
$k = 0;
$n = 0;
$w = '';
while ($k < 20000) {
    $k = $k + 1;
    $w = strtoupper(substr($str, $k % 40, 12));
    $p = strpos($w, 'O');
    $n = $n + ($p === false ? 0 : $p + 1);
}
echo 'k=' . $k . ' n=' . $n . ' w=' . $w;
