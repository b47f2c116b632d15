import os
try:
 open(%1,'rb').close()
 print('__EXISTS__1')
except OSError:
 try:
  os.listdir(%1)
  print('__EXISTS__1')
 except (OSError,TypeError):
  print('__EXISTS__0')
