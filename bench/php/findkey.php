<HTML>
<HEAD><TITLE>Find</TITLE></HEAD>
<BODY>
<?php
$db = new SQLite3(__DIR__ . '/people.sqlite', SQLITE3_OPEN_READONLY);
$query = $db->prepare('SELECT name, city FROM people WHERE key = :key');
$query->bindValue(':key', 'k077777', SQLITE3_TEXT);
$row = $query->execute()->fetchArray(SQLITE3_ASSOC);
?>

<P>k077777 is <?php echo $row['name']; ?> of <?php echo $row['city']; ?>.</P>
</BODY>
</HTML>
