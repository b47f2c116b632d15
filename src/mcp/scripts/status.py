import sys,os
print(sys.version)
print(os.uname().machine)
