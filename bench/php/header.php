<HTML>
<HEAD><TITLE>Price list</TITLE></HEAD>
<BODY>
<H1>Price list</H1>
