<HTML>
<HEAD><TITLE>Hello</TITLE></HEAD>
<BODY>
<H1>Hello, world</H1>
<P>Six times seven is <?php echo 6 * 7; ?>.</P>
</BODY>
</HTML>
